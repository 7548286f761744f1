#pragma once

#include "Authorization.h"
#include "PrivilegedTools.h"

#include <functional>

namespace platform {

// Administrator rights by polkit: the right is the action `com.vantorel.launcher.admin`, and it is this
// process that gets it. Tools run through pkexec and the helper that is installed with the Launcher;
// `VANTOREL_ROOT` does not matter to any of this.
//
// polkit keeps a right for some minutes. `execute` asks it each time, so a right that has lapsed is asked for
// again or refused. What polkit keeps is revoked by `free` when polkit allows that; otherwise it lapses by
// itself, and until then serves nobody: a new request puts its question all the same.
//
// Where a rule grants the action without a question, credentials are not looked at. No question shows a
// tool's arguments, which could make it say anything.
//
// Where a rule keeps rights from being kept, each run that may ask puts two questions, whatever
// `askForRights` has asked before: the second is pkexec's own and does show the arguments. Right credentials
// are accepted there by `copyRights`, but `execute` runs nothing by them.
class PolkitAuthorization : public Authorization {
public:
    // `kUnavailable` is no polkit, no pkexec, no helper, or none that answers.
    static constexpr Status kNotStarted = -60031; // the tool was refused, or could not be started

    // How to wait: does the work, which may take as long as people take to answer, and returns when it is
    // done, having kept alive meanwhile what has to be. False when it could not be waited for; it then goes
    // on alone.
    using Waiting = std::function<bool(std::function<void()> work)>;

    explicit PolkitAuthorization(Waiting waiting = workHere);

    std::shared_ptr<AuthorizationReference> privilegedReference() override; // none here
    Result create() override;
    Status askForRights(AuthorizationReference& reference, const std::optional<std::string>& tool) override;
    Status copyRights(AuthorizationReference& reference, Credentials credentials) override;
    Status execute(AuthorizationReference& reference, const std::string& tool,
                   const std::vector<std::string>& arguments, bool waitsForEnd, bool mayAsk) override;
    void free(std::shared_ptr<AuthorizationReference> reference) override;

private:
    static bool workHere(const std::function<void()>& work);

    // The status that the work comes to.
    Status wait(const std::function<Status()>& work) const;

    Waiting waiting_;
    std::shared_ptr<PrivilegedTools> tools_ = std::make_shared<PrivilegedTools>();
};

} // namespace platform
