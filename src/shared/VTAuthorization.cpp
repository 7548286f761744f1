#include "VTAuthorization.h"

#include "Format.h"
#include "Platform.h"
#include "ToolPath.h"
#include "VTLocalPaths.h"
#include "VTLog.h"
#include "VTTaskEx.h"

#include <utility>

namespace {

constexpr std::int32_t kNotAuthorized = -1;
constexpr std::int32_t kNoSuchTool = -2;

platform::Authorization& service() {
    return *platform::current().authorization;
}

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
    return obtainRights(std::nullopt);
}

bool VTAuthorization::obtainRights(const Path& tool) {
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
    if (service().askForRights(*authRef_, tool) != 0) {
        service().free(std::exchange(authRef_, nullptr));
        return false;
    }
    return true;
}

bool VTAuthorization::authStartWithUser(const std::optional<std::string>& user,
                                        std::optional<std::string>&& password) {
    auto secret = password ? std::optional<platform::SecretText>(*password) : std::nullopt;
    if (isRoot()) {
        return true;
    }
    if (!user || !secret) {
        return false;
    }
    auto created = service().create();
    authRef_ = std::move(created.reference); // what was held is dropped, not freed
    if (!authRef_) {
        platform::current().consoleLog->log(format("Unable to create authRef - error %d", created.status));
        return false;
    }
    if (service().copyRights(*authRef_, {.user = *user, .password = *std::move(secret)}) != 0) {
        static constexpr const char* kFailed = "Authorization failed. Invalid username or password";
        service().free(std::exchange(authRef_, nullptr));
        platform::current().consoleLog->log(kFailed);
        VTLog::appendLog(kFailed);
        return false;
    }
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
    if (!obtainRights(place)) {
        return kNotAuthorized;
    }
    const auto status = service().execute(*authRef_, *place, parameters, !async, hasGUI_);
    if (!platform::Authorization::saysNotAuthorized(status)) {
        return status;
    }
    service().free(std::exchange(authRef_, nullptr)); // what was held has expired
    if (!hasGUI_) {
        platform::current().consoleLog->log("Unable to authorize");
    }
    return kNotAuthorized;
}

void VTAuthorization::runTask(const std::string& tool, const Arguments& arguments) {
    VTTaskEx::runTask(tool, arguments);
}

void VTAuthorization::runTaskAndReturn(const std::string& tool, const Arguments& arguments) {
    VTTaskEx::runTaskAndReturn(tool, arguments);
}
