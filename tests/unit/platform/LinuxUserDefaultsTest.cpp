#include "linux/LinuxUserDefaults.h"

#include "PropertyListSerialization.h"
#include "TestSandbox.h"
#include "linux/LinuxFileManager.h"

#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

using namespace platform;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// The real file manager, which counts reads and fails to write when told to.
class WatchedFileManager : public LinuxFileManager {
public:
    FileContents contents(const std::string& path, std::size_t limit) override {
        ++reads;
        return LinuxFileManager::contents(path, limit);
    }
    std::error_code writeAtomically(const std::string& path, std::string_view bytes) override {
        return writeError ? writeError : LinuxFileManager::writeAtomically(path, bytes);
    }
    std::error_code createDirectory(const std::string& path) override {
        return createError ? createError : LinuxFileManager::createDirectory(path);
    }

    std::atomic<int> reads = 0;
    std::error_code writeError;
    std::error_code createError;
};

class LinuxUserDefaultsTest : public testing::Test {
protected:
    ~LinuxUserDefaultsTest() override { std::filesystem::remove_all(folder_); }

    LinuxUserDefaults defaults() const { return {folder_, "com.vantorel.Test"}; }

    // Sets the value and sees it through to the file.
    static void set(LinuxUserDefaults& defaults, const PropertyList& value, const std::string& key) {
        defaults.setObject(value, key);
        defaults.synchronize();
    }

    PropertyList::Dictionary stored() const {
        return dictionaryWithContentsOfFile(own_).value_or(PropertyList::Dictionary());
    }
    void store(const std::string& path, const PropertyList::Dictionary& values,
               PropertyListFormat format = PropertyListFormat::Binary) const {
        sandbox::writeFile(path, serializePropertyList(values, format));
    }
    // As if it had been written a while ago.
    void age(const std::string& path, std::time_t seconds = 60) const {
        std::timespec past{std::time(nullptr) - seconds, 0};
        std::timespec times[] = {past, past};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    std::vector<std::string> keptAside() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
            auto name = entry.path().filename().string();
            if (name.starts_with("com.vantorel.Test.plist.damaged-")) {
                names.push_back(name);
            }
        }
        return names;
    }
    void expectNothingElseIn(std::size_t count) const {
        auto entries = std::filesystem::directory_iterator(folder_);
        EXPECT_EQ(std::distance(begin(entries), end(entries)), static_cast<std::ptrdiff_t>(count));
    }

    const std::string folder_ = sandbox::home() + "/Library/Preferences";
    const std::string own_ = folder_ + "/com.vantorel.Test.plist";
    const std::string global_ = folder_ + "/.GlobalPreferences.plist";
    std::shared_ptr<WatchedFileManager> files_ = std::make_shared<WatchedFileManager>();
    std::shared_ptr<FakeConsoleLog> console_ = std::make_shared<FakeConsoleLog>();
    ScopedPlatform platform_{[&] {
        auto services = current();
        services.fileManager = files_;
        services.consoleLog = console_;
        return services;
    }()};
};

} // namespace

TEST_F(LinuxUserDefaultsTest, LooksInTheOwnDomainThenTheGlobalOneThenTheRegisteredValues) {
    auto defaults = this->defaults();
    EXPECT_EQ(defaults.objectForKey("key"), std::nullopt);
    defaults.registerDefaults({{"key", "registered"}, {"other", 1}});
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("registered"));
    store(global_, {{"key", "global"}});
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("global"));
    store(own_, {{"key", "own"}}, PropertyListFormat::Xml);
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("own"));
    EXPECT_EQ(defaults.objectForKey("other"), PropertyList(1));
}

TEST_F(LinuxUserDefaultsTest, GlobalValuesComeFromTheGlobalDomainOnly) {
    auto defaults = this->defaults();
    defaults.registerDefaults({{"AppleScrollBarVariant", "registered"}});
    store(own_, {{"AppleScrollBarVariant", "own"}});
    EXPECT_EQ(defaults.globalObjectForKey("AppleScrollBarVariant"), std::nullopt);
    store(global_, {{"AppleScrollBarVariant", "Single"}});
    EXPECT_EQ(defaults.globalObjectForKey("AppleScrollBarVariant"), PropertyList("Single"));
}

TEST_F(LinuxUserDefaultsTest, RegisteredValuesAreNeverWritten) {
    auto defaults = this->defaults();
    defaults.registerDefaults({{"sortType", 0}});
    defaults.registerDefaults({{"unhideOnLaunchedAppExit", 1}});
    set(defaults, "x", "key");
    EXPECT_EQ(defaults.integerForKey("unhideOnLaunchedAppExit"), 1);
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", "x"}}));
}

TEST_F(LinuxUserDefaultsTest, AWriteMakesTheFolderAndChangesItsOwnKeyOnly) {
    auto defaults = this->defaults();
    set(defaults, PropertyList::Array{"a", "b"}, "hiddenGroups");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"hiddenGroups", PropertyList::Array{"a", "b"}}}));

    PropertyList::Dictionary foreign{{"unknown", PropertyList::Dictionary{{"deep", PropertyList::Data{"x"}}}},
                                     {"sortType", 1},
                                     {"when", PropertyList::Date{0.125}}};
    store(own_, foreign, PropertyListFormat::Binary);
    set(defaults, 2, "sortType");
    foreign.insert_or_assign("sortType", 2);
    EXPECT_EQ(stored(), foreign);
    EXPECT_EQ(defaults.integerForKey("sortType"), 2);
    EXPECT_TRUE(sandbox::readFile(own_).starts_with("bplist00"));
    expectNothingElseIn(1);
    EXPECT_THAT(console_->lines(), ElementsAre());
}

TEST_F(LinuxUserDefaultsTest, AWriteKeepsTheFilesMode) {
    store(own_, {{"a", 1}});
    ASSERT_EQ(chmod(own_.c_str(), 0600), 0);
    defaults().setObject(2, "b");
    struct stat status {};
    ASSERT_EQ(stat(own_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(LinuxUserDefaultsTest, EveryReadSeesWhatAnotherProcessHasWritten) {
    auto defaults = this->defaults();
    auto other = this->defaults();
    for (int i = 0; i < 200; ++i) {
        set(other, i % 2 == 0, "key");
        ASSERT_EQ(defaults.objectForKey("key"), PropertyList(i % 2 == 0));
    }
    std::filesystem::remove(own_);
    EXPECT_EQ(defaults.objectForKey("key"), std::nullopt);
}

TEST_F(LinuxUserDefaultsTest, AStampThatIsStillFreshProvesNothing) {
    store(own_, {{"key", true}});
    struct stat status {};
    ASSERT_EQ(stat(own_.c_str(), &status), 0);
    auto defaults = this->defaults();
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList(true));
    store(own_, {{"key", false}}); // in place, of the same size, and within the same tick
    std::timespec times[] = {status.st_mtim, status.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, own_.c_str(), times, 0), 0);
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList(false));
}

TEST_F(LinuxUserDefaultsTest, AnUnchangedFileIsReadOnce) {
    store(own_, {{"key", "own"}});
    store(global_, {{"key", "global"}});
    age(own_);
    age(global_);
    auto defaults = this->defaults();
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(defaults.objectForKey("key"), PropertyList("own"));
        EXPECT_EQ(defaults.globalObjectForKey("key"), PropertyList("global"));
    }
    EXPECT_EQ(files_->reads, 2);
    age(own_, 50); // touched
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("own"));
    EXPECT_EQ(files_->reads, 3);
}

TEST_F(LinuxUserDefaultsTest, ValuesOfTheWrongKindFollowTheRules) {
    auto defaults = this->defaults();
    defaults.registerDefaults({{"unhideOnLaunchedAppExit", 1}});
    store(own_, {{"hiddenGroups", "not an array"},
                 {"sortType", "2 apples"},
                 {"quitAfterLaunching", true},
                 {"unhideOnLaunchedAppExit", PropertyList::Array{}},
                 {"mixed", PropertyList::Array{"a", 1}},
                 {"texts", PropertyList::Array{"a", "b"}}});
    EXPECT_EQ(defaults.stringArrayForKey("hiddenGroups"), std::nullopt);
    EXPECT_EQ(defaults.stringArrayForKey("mixed"), std::nullopt);
    EXPECT_EQ(defaults.stringArrayForKey("texts"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(defaults.integerForKey("sortType"), 2);
    EXPECT_EQ(defaults.integerForKey("quitAfterLaunching"), 1);
    EXPECT_EQ(defaults.integerForKey("unhideOnLaunchedAppExit"), 0); // stored, though it is no number
}

TEST_F(LinuxUserDefaultsTest, ADamagedFileReadsAsEmptyAndIsKeptBeforeItIsReplaced) {
    const std::string damaged = "<plist><dict><key>a</key>";
    sandbox::writeFile(own_, damaged);
    auto defaults = this->defaults();
    defaults.registerDefaults({{"a", 7}});
    EXPECT_EQ(defaults.integerForKey("a"), 7);
    EXPECT_EQ(sandbox::readFile(own_), damaged); // a read leaves it alone

    set(defaults, 8, "a");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 8}}));
    auto kept = keptAside();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_THAT(kept[0], testing::MatchesRegex("com\\.vantorel\\.Test\\.plist\\.damaged-[0-9]{8}-[0-9]{6}"));
    EXPECT_EQ(sandbox::readFile(folder_ + "/" + kept[0]), damaged);
    EXPECT_THAT(console_->lines(),
                ElementsAre(own_ + " could not be read and was kept as " + folder_ + "/" + kept[0]));
    expectNothingElseIn(2);
}

TEST_F(LinuxUserDefaultsTest, NoKeptFileIsEverReplaced) {
    // Every name of the next minutes is taken.
    for (int second = 0; second < 180; ++second) {
        std::time_t time = std::time(nullptr) + second;
        std::tm fields{};
        localtime_r(&time, &fields);
        char name[32];
        std::strftime(name, sizeof name, ".damaged-%Y%m%d-%H%M%S", &fields);
        sandbox::writeFile(own_ + name, "older");
    }
    auto before = keptAside().size();
    for (int i = 0; i < 3; ++i) {
        sandbox::writeFile(own_, "damaged " + std::to_string(i));
        defaults().setObject(1, "a");
    }
    std::vector<std::string> contents;
    for (const auto& name : keptAside()) {
        auto text = sandbox::readFile(folder_ + "/" + name);
        if (text != "older") {
            EXPECT_THAT(name, testing::ContainsRegex("-[0-9]{6}-[234]$"));
            contents.push_back(text);
        }
    }
    EXPECT_EQ(keptAside().size(), before + 3);
    EXPECT_THAT(contents, testing::UnorderedElementsAre("damaged 0", "damaged 1", "damaged 2"));
}

TEST_F(LinuxUserDefaultsTest, WhateverStandsInTheFilesPlaceIsKept) {
    std::filesystem::create_directories(own_ + "/folder");
    defaults().setObject(1, "a");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 1}}));

    std::filesystem::remove(own_);
    ASSERT_EQ(mkfifo(own_.c_str(), 0600), 0);
    EXPECT_EQ(defaults().objectForKey("a"), std::nullopt);
    defaults().setObject(2, "a");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 2}}));

    sandbox::writeFile(own_, "");
    std::filesystem::resize_file(own_, kPropertyListMaximumBytes + 1);
    EXPECT_EQ(defaults().objectForKey("a"), std::nullopt);
    defaults().setObject(3, "a");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 3}}));

    store(own_, {});
    sandbox::writeFile(own_,
                       serializePropertyList(PropertyList::Array{"no dictionary"}, PropertyListFormat::Xml));
    defaults().setObject(4, "a");
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 4}}));
    EXPECT_EQ(keptAside().size(), 4U);
}

TEST_F(LinuxUserDefaultsTest, AFailedWriteIsSaidAndTheValueHoldsForThisProcess) {
    store(own_, {{"key", "old"}});
    files_->writeError = std::make_error_code(std::errc::no_space_on_device);
    auto defaults = this->defaults();
    set(defaults, "new", "key");
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("new"));
    EXPECT_EQ(this->defaults().objectForKey("key"), PropertyList("old"));
    EXPECT_THAT(console_->lines(), ElementsAre("Cannot store \"key\" in " + own_ +
                                               ": No space left on device. The value holds until the "
                                               "program ends."));
    files_->writeError.clear();
    set(defaults, "newer", "key");
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("newer"));
    EXPECT_EQ(stored().at("key"), PropertyList("newer"));
    store(own_, {{"key", "from elsewhere"}});
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("from elsewhere"));
}

TEST_F(LinuxUserDefaultsTest, AFolderThatCannotBeMadeIsSaid) {
    files_->createError = std::make_error_code(std::errc::read_only_file_system);
    auto defaults = this->defaults();
    set(defaults, 1, "key");
    EXPECT_EQ(defaults.integerForKey("key"), 1);
    EXPECT_THAT(console_->lines(), ElementsAre(AllOf(HasSubstr(own_), HasSubstr("Read-only file system"))));
}

TEST_F(LinuxUserDefaultsTest, AFileInTheFoldersPlaceIsSaid) {
    sandbox::writeFile(folder_, "x");
    auto defaults = this->defaults();
    set(defaults, 1, "key");
    EXPECT_EQ(defaults.integerForKey("key"), 1);
    EXPECT_EQ(console_->lines().size(), 1U);
    EXPECT_EQ(sandbox::readFile(folder_), "x");
}

TEST_F(LinuxUserDefaultsTest, AFolderThatStaysLockedIsSaid) {
    sandbox::makeFolder(folder_);
    int descriptor = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    auto defaults = this->defaults();
    set(defaults, 1, "key");
    close(descriptor);
    EXPECT_EQ(defaults.integerForKey("key"), 1);
    EXPECT_FALSE(sandbox::exists(own_));
    EXPECT_THAT(console_->lines(), ElementsAre(HasSubstr("another program keeps the folder locked")));
}

TEST_F(LinuxUserDefaultsTest, NobodyWaitsForTheFile) {
    sandbox::makeFolder(folder_);
    const int descriptor = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    auto defaults = this->defaults();
    defaults.setObject(1, "key");
    defaults.setObject(2, "key");
    EXPECT_EQ(defaults.integerForKey("key"), 2);
    EXPECT_FALSE(sandbox::exists(own_));
    close(descriptor);
    defaults.synchronize();
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"key", 2}}));
    EXPECT_THAT(console_->lines(), ElementsAre());
}

TEST_F(LinuxUserDefaultsTest, ItsEndSavesWhatIsOnItsWay) {
    {
        auto defaults = this->defaults();
        for (int i = 0; i < 50; ++i) {
            defaults.setObject(i, std::to_string(i));
        }
    }
    EXPECT_EQ(stored().size(), 50U);
}

TEST_F(LinuxUserDefaultsTest, AValueThatNoFileCanHoldIsSaidAndTheFileStays) {
    store(own_, {{"a", 1}});
    auto defaults = this->defaults();
    set(defaults, "\xFF", "key");
    EXPECT_EQ(defaults.objectForKey("key"), PropertyList("\xFF"));
    EXPECT_EQ(stored(), (PropertyList::Dictionary{{"a", 1}}));
    EXPECT_THAT(console_->lines(), ElementsAre(HasSubstr("not UTF-8")));

    // Nor is a damaged file touched for it.
    sandbox::writeFile(own_, "damaged");
    set(defaults, "\xFF", "key");
    EXPECT_EQ(sandbox::readFile(own_), "damaged");
    EXPECT_TRUE(keptAside().empty());
}

TEST_F(LinuxUserDefaultsTest, TwoProcessesLoseNothing) {
    constexpr int kWrites = 100;
    auto write = [&](const std::string& prefix) {
        auto defaults = this->defaults();
        for (int i = 0; i < kWrites; ++i) {
            set(defaults, i, prefix + std::to_string(i));
            if (defaults.integerForKey(prefix + std::to_string(i)) != i) {
                return 1;
            }
        }
        return console_->lines().empty() ? 0 : 2;
    };
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        _exit(write("child "));
    }
    EXPECT_EQ(write("parent "), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    auto values = stored();
    EXPECT_EQ(values.size(), std::size_t{2} * kWrites);
    for (int i = 0; i < kWrites; ++i) {
        for (const char* prefix : {"child ", "parent "}) {
            auto found = values.find(prefix + std::to_string(i));
            EXPECT_TRUE(found != values.end() && found->second == PropertyList(i)) << prefix << i;
        }
    }
    expectNothingElseIn(1);
}

TEST_F(LinuxUserDefaultsTest, ThreadsLoseNothing) {
    constexpr int kWrites = 40;
    auto defaults = this->defaults();
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&defaults, thread] {
                for (int i = 0; i < kWrites; ++i) {
                    auto key = std::to_string(thread) + " " + std::to_string(i);
                    defaults.registerDefaults({{key, -1}});
                    set(defaults, i, key);
                    EXPECT_EQ(defaults.integerForKey(key), i);
                    defaults.globalObjectForKey(key);
                }
            });
        }
    }
    EXPECT_EQ(stored().size(), std::size_t{4} * kWrites);
}
