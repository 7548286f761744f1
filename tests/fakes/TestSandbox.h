#pragma once

#include "FakeAlertPanels.h"
#include "FakeAlertSheets.h"
#include "FakeApplication.h"
#include "FakeConsoleLog.h"
#include "FakeDistributedNotifications.h"
#include "FakeUserDefaults.h"
#include "FakeUsers.h"
#include "FakeWorkspace.h"
#include "Platform.h"

#include <memory>
#include <string>
#include <string_view>

// The folders and services of this test process: a temporary home and machine root, removed at the
// end, and a platform with the real file manager and fakes for the rest. Set up by the tests' main.
namespace sandbox {

const std::string& folder();               // holds home() and root()
std::string path(const std::string& name); // of what is called so in folder()
std::string home();                        // HOME
std::string root();                        // VANTOREL_ROOT

FakeUsers& users();
FakeConsoleLog& console();
FakeUserDefaults& defaults();
FakeWorkspace& workspace();
FakeApplication& application();
FakeAlertPanels& alertPanels();
FakeAlertSheets& alertSheets();
FakeDistributedNotifications& distributedNotifications();

// Writes a file, making the folders above it.
void writeFile(const std::string& path, std::string_view bytes);
std::string readFile(const std::string& path); // empty when there is none
void makeFolder(const std::string& path);
bool exists(const std::string& path); // links not followed

} // namespace sandbox
