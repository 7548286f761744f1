#pragma once

#include "FakeAuthorization.h"
#include "TaskFixture.h"
#include "VTAuthorization.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Who runs the process.
enum class Role { User, Root };
inline void PrintTo(Role role, std::ostream* stream) {
    *stream << (role == Role::Root ? "root" : "user");
}

// A tool that was to be started, by root's task runner or by the authorization service.
struct ToolRun {
    std::string tool;
    std::vector<std::string> arguments;
    bool operator==(const ToolRun&) const = default;
};
inline void PrintTo(const ToolRun& run, std::ostream* stream) {
    *stream << run.tool << testing::PrintToString(run.arguments);
}

// An object beside the process-wide one, with an end. As root it runs real tools.
class RealAuthorization : public VTAuthorization {
public:
    explicit RealAuthorization(bool withGUI = true) : VTAuthorization(withGUI) {}
};

// Starts no tool, as root either.
class RecordingAuthorization : public RealAuthorization {
public:
    using RealAuthorization::RealAuthorization;

    std::vector<ToolRun> waitedFor;
    std::vector<ToolRun> started;

protected:
    void runTask(const std::string& tool, const Arguments& arguments) override {
        waitedFor.push_back({tool, arguments});
    }
    void runTaskAndReturn(const std::string& tool, const Arguments& arguments) override {
        started.push_back({tool, arguments});
    }
};

// A recording controller in the sandbox, for a user or for root; the user's home is the same.
class AuthorizationTest : public TaskTest {
protected:
    AuthorizationTest() : platform_(with(service_)) {}
    ~AuthorizationTest() override { VTLog::finishWriting(); } // with the services of this test

    static void become(Role role) { sandbox::users().userID = role == Role::Root ? 0 : 501; }
    static bool isRoot() { return sandbox::users().userID == 0; }

    // Made by the first use, in the role of then.
    RecordingAuthorization& controller() {
        if (!controller_) {
            controller_ = std::make_unique<RecordingAuthorization>();
        }
        return *controller_;
    }
    FakeAuthorization& service() { return *service_; }

    static RecordingAuthorization withoutGUI() { return RecordingAuthorization(false); }

    static std::shared_ptr<FakeAuthorization::Reference> reference() {
        return std::make_shared<FakeAuthorization::Reference>(true);
    }
    void refuse() {
        service().onCopyRights = [](const auto&) { return FakeAuthorization::kDenied; };
    }

    // The tools started since the last call, without waiting for their end.
    std::vector<ToolRun> started() {
        auto runs = std::exchange(controller().started, {});
        for (const auto& run : std::exchange(service_->runs, {})) {
            EXPECT_FALSE(run.waitsForEnd);
            runs.push_back({run.tool, run.arguments});
        }
        EXPECT_TRUE(controller().waitedFor.empty());
        return runs;
    }

private:
    static platform::Platform with(std::shared_ptr<platform::Authorization> service) {
        auto services = platform::current();
        services.authorization = std::move(service);
        return services;
    }

    std::shared_ptr<FakeAuthorization> service_ = std::make_shared<FakeAuthorization>();
    platform::ScopedPlatform platform_;
    std::unique_ptr<RecordingAuthorization> controller_;
};

// Every test for both.
class AuthorizationAs : public AuthorizationTest, public testing::WithParamInterface<Role> {
protected:
    AuthorizationAs() { become(GetParam()); }
};

// Files and folders in the sandbox, whoever runs the process.
class AuthorizationFiles : public AuthorizationAs {
protected:
    static std::string home(const std::string& name) { return sandbox::home() + "/" + name; }
    static std::string trash(const std::string& name) { return home(".Trash/" + name); }

    static std::string makeFile(const std::string& path) {
        sandbox::writeFile(path, "text");
        return path;
    }
    static mode_t modeOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    // The tools that handle this item fail: to start for a user, not to be seen for root.
    void failFor(const std::string& item) {
        service().onExecute = [item](const FakeAuthorization::Run& run) {
            return std::ranges::count(run.arguments, item) > 0 ? 7 : 0;
        };
    }
    static ToolRun move(const std::string& from, const std::string& to) {
        return {"/bin/mv", {"-f", from, to}};
    }
    static ToolRun toTrash(const std::string& from) {
        return move(from, trash(std::filesystem::path(from).filename()));
    }

    // Where the only tool started moved the item to.
    std::string destination() {
        const auto runs = started();
        EXPECT_EQ(runs.size(), 1U);
        return runs.empty() ? "" : runs.front().arguments.back();
    }
};

constexpr auto kNameOfRole = [](const testing::TestParamInfo<Role>& info) {
    return info.param == Role::Root ? "Root" : "User";
};
