#include "VTAuthorization.h"

#include "Format.h"
#include "Platform.h"
#include "ToolPath.h"
#include "VTLocalPaths.h"
#include "VTLog.h"
#include "VTTaskEx.h"

#include <string.h>
#include <utility>

namespace {

constexpr std::int32_t kNotAuthorized = -1;
constexpr std::int32_t kNoSuchTool = -2;

platform::Authorization& service() {
    return *platform::current().authorization;
}

// Nothing of the text is left, in what was kept for it either.
void wipe(std::string& text) {
    text.resize(text.capacity());
    ::explicit_bzero(text.data(), text.size());
    text.clear();
}

// An administrator's name and password for as long as it lives; both the password's old and its new place are
// overwritten in the end.
class HeldCredentials {
public:
    HeldCredentials(const std::string& user, std::string& password) : source_(password) {
        value_->user = user;
        value_->password.swap(password);
    }
    ~HeldCredentials() {
        value_->password.swap(source_);
        wipe(value_->password);
    }
    HeldCredentials(const HeldCredentials&) = delete;
    HeldCredentials& operator=(const HeldCredentials&) = delete;

    const std::optional<platform::Authorization::Credentials>& value() const { return value_; }

private:
    std::string& source_;
    std::optional<platform::Authorization::Credentials> value_{std::in_place};
};

} // namespace

VTAuthorization& VTAuthorization::sharedController(bool withGUI) {
    static auto& controller = *new VTAuthorization(withGUI); // by one thread, the others wait
    return controller;
}

VTAuthorization::VTAuthorization(bool withGUI)
    : authRef_(service().privilegedReference()), hasGUI_(withGUI),
      userDirectory_(isRoot() ? std::nullopt : VTLocalPaths::userDirectory()) {}

VTAuthorization::~VTAuthorization() {
    authEnd();
}

bool VTAuthorization::isRoot() {
    return platform::current().users->realUserID() == 0;
}

bool VTAuthorization::authStart() {
    if (isAuthorized()) {
        return true;
    }
    if (!hasGUI_) {
        platform::current().consoleLog->log("Unable to authorize");
        return false;
    }
    authRef_ = service().create().reference;
    if (!authRef_) {
        return false;
    }
    if (service().copyRights(*authRef_, std::nullopt) != 0) {
        service().free(std::exchange(authRef_, nullptr));
        return false;
    }
    credentialsGiven_ = false;
    return true;
}

bool VTAuthorization::authStartWithUser(const std::optional<std::string>& user,
                                        std::optional<std::string>&& password) {
    struct Wiping {
        std::optional<std::string>& password;
        ~Wiping() {
            if (password) {
                wipe(*password);
            }
        }
    } wiping{password};

    if (isRoot()) {
        return true;
    }
    if (!user || !password) {
        return false;
    }
    const HeldCredentials credentials(*user, *password);
    auto created = service().create();
    authRef_ = std::move(created.reference); // what was held is dropped, not freed
    if (!authRef_) {
        platform::current().consoleLog->log(format("Unable to create authRef - error %d", created.status));
        return false;
    }
    if (service().copyRights(*authRef_, credentials.value()) != 0) {
        static constexpr const char* kFailed = "Authorization failed. Invalid username or password";
        service().free(std::exchange(authRef_, nullptr));
        platform::current().consoleLog->log(kFailed);
        VTLog::appendLog(kFailed);
        return false;
    }
    credentialsGiven_ = true;
    return true;
}

void VTAuthorization::authEnd() {
    auto reference = std::exchange(authRef_, nullptr);
    if (reference && !isRoot()) {
        service().free(std::move(reference));
    }
}

bool VTAuthorization::isAuthorized() const {
    return isRoot() || authRef_;
}

bool VTAuthorization::canAuthorize() const {
    return hasGUI_ || isRoot();
}

std::int32_t VTAuthorization::authExecTask(const Path& tool, const Arguments& parameters, bool async) {
    const auto place = tool && tool->starts_with('/') ? Path(platform::toolPath(*tool)) : std::nullopt;
    if (!place || !platform::current().fileManager->fileExists(*place)) {
        platform::current().consoleLog->log(format("Unable to execute task: path %@ doesn't exist", tool));
        return kNoSuchTool;
    }
    if (isRoot()) {
        async ? runTaskAndReturn(*tool, parameters) : runTask(*tool, parameters);
        return 0;
    }
    if (!isAuthorized() && !authStart()) {
        return kNotAuthorized;
    }
    return service().execute(*authRef_, *place, parameters, !async, hasGUI_ && !credentialsGiven_);
}

void VTAuthorization::runTask(const std::string& tool, const Arguments& arguments) {
    VTTaskEx::runTask(tool, arguments);
}

void VTAuthorization::runTaskAndReturn(const std::string& tool, const Arguments& arguments) {
    VTTaskEx::runTaskAndReturn(tool, arguments);
}
