#pragma once

#include "Authorization.h"

#include <functional>
#include <utility>

// Grants what the test says, and runs nothing: remembers what it was asked, in order. Of a password it keeps
// nothing.
class FakeAuthorization : public platform::Authorization {
public:
    struct Reference : platform::AuthorizationReference {
        explicit Reference(bool granted) : isGranted(granted) {}
        bool isGranted;
    };

    struct Run {
        std::string tool;
        std::vector<std::string> arguments;
        bool waitsForEnd;
        bool mayAsk;
        bool operator==(const Run&) const = default;
    };

    std::shared_ptr<platform::AuthorizationReference> handedDown;
    Status createStatus = 0;
    // Without them everything is granted and everything is started.
    std::function<Status(const std::optional<Credentials>& credentials)> onCopyRights; // none: asked for
    std::function<Status(const Run& run)> onExecute;

    std::vector<std::string> events; // the names of the calls, whose credentials, and what for
    std::vector<Run> runs;           // including those that `onExecute` made fail
    std::vector<std::shared_ptr<platform::AuthorizationReference>> freed;

    std::shared_ptr<platform::AuthorizationReference> privilegedReference() override {
        events.emplace_back("privilegedReference");
        return handedDown;
    }
    Result create() override {
        events.emplace_back("create");
        return createStatus == 0 ? Result{0, std::make_shared<Reference>(false)} : Result{createStatus};
    }
    Status askForRights(platform::AuthorizationReference& reference,
                        const std::optional<std::string>& tool) override {
        events.push_back(tool ? "askForRights for " + *tool : "askForRights");
        return grant(reference, std::nullopt);
    }
    Status copyRights(platform::AuthorizationReference& reference, Credentials credentials) override {
        events.push_back("copyRights as " + credentials.user);
        return grant(reference, std::move(credentials));
    }
    Status execute(platform::AuthorizationReference& reference, const std::string& tool,
                   const std::vector<std::string>& arguments, bool waitsForEnd, bool mayAsk) override {
        events.push_back("execute " + tool);
        if (!static_cast<Reference&>(reference).isGranted) {
            return kDenied;
        }
        runs.push_back({tool, arguments, waitsForEnd, mayAsk});
        return onExecute ? onExecute(runs.back()) : 0;
    }
    void free(std::shared_ptr<platform::AuthorizationReference> reference) override {
        events.emplace_back("free");
        freed.push_back(std::move(reference));
    }

private:
    Status grant(platform::AuthorizationReference& reference, const std::optional<Credentials>& credentials) {
        const auto status = onCopyRights ? onCopyRights(credentials) : 0;
        static_cast<Reference&>(reference).isGranted = status == 0;
        return status;
    }
};
