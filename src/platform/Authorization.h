#pragma once

#include "SecretText.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// The right to change what belongs to the whole machine: `system.privilege.admin`.
inline constexpr const char* kAdministratorRight = "system.privilege.admin";

// Holds the rights that were obtained; they are dropped with it.
class AuthorizationReference {
public:
    virtual ~AuthorizationReference() = default;
};

// The desktop's authorization service. No call throws. One thread at a time.
class Authorization {
public:
    using Status = std::int32_t; // 0 is success

    // There is no right, or none any more.
    static constexpr Status kDenied = -60005;
    static constexpr Status kDismissed = -60006;   // by whoever was asked, or given up at the program's end
    static constexpr Status kUnavailable = -60008; // there is nobody who could grant it
    static constexpr bool saysNotAuthorized(Status status) {
        return status == kDenied || status == kDismissed || status == kUnavailable;
    }

    // An administrator's name and password, for rights that nobody is asked for.
    struct Credentials {
        std::string user;
        SecretText password;
    };

    // What came of a request; the reference is null unless `status` is 0.
    struct Result {
        Status status = 0;
        std::shared_ptr<AuthorizationReference> reference = nullptr;
    };

    virtual ~Authorization() = default;

    // Rights that the parent process has handed down; null when there are none.
    virtual std::shared_ptr<AuthorizationReference> privilegedReference() = 0;

    // A reference without rights yet.
    virtual Result create() = 0;

    // Obtains the right for the reference and keeps it: the desktop's own dialog asks, and the call waits for
    // the answer. The question names the tool that the right is wanted for, when there is one, by its path.
    // Whoever waits on the main thread keeps the interface alive meanwhile.
    virtual Status askForRights(AuthorizationReference& reference,
                                const std::optional<std::string>& tool) = 0;

    // The same without asking anybody: the credentials are checked.
    virtual Status copyRights(AuthorizationReference& reference, Credentials credentials) = 0;

    // Runs the tool as root with exactly these arguments and returns once it has been started; with
    // `waitsForEnd` not before it has closed its output. `mayAsk` says whether an expired right may be asked
    // for again; one that credentials have obtained never is. A status other than 0 says that the tool has
    // not been started.
    virtual Status execute(AuthorizationReference& reference, const std::string& tool,
                           const std::vector<std::string>& arguments, bool waitsForEnd, bool mayAsk) = 0;

    // Drops the rights, those that the desktop keeps included where it allows that.
    virtual void free(std::shared_ptr<AuthorizationReference> reference) = 0;
};

} // namespace platform
