#pragma once

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

    // An administrator's name and password, for rights that nobody is asked for.
    struct Credentials {
        std::string user;
        std::string password;
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

    // Obtains the right for the reference and keeps it: with credentials they are checked and nobody is
    // asked; without, the desktop's own dialog asks, and the call waits for the answer. Whoever waits on the
    // main thread keeps the interface alive meanwhile.
    virtual Status copyRights(AuthorizationReference& reference,
                              const std::optional<Credentials>& credentials) = 0;

    // Runs the tool as root with exactly these arguments and returns once it has been started; with
    // `waitsForEnd` not before it has closed its output. `mayAsk` says whether an expired right may be asked
    // for again. A status other than 0 says that the tool has not been started.
    virtual Status execute(AuthorizationReference& reference, const std::string& tool,
                           const std::vector<std::string>& arguments, bool waitsForEnd, bool mayAsk) = 0;

    // Drops the rights, those that the desktop keeps included where it allows that.
    virtual void free(std::shared_ptr<AuthorizationReference> reference) = 0;
};

} // namespace platform
