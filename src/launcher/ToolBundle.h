#pragma once

#include "FileManager.h"
#include "VTLaunchApp.h"

#include <memory>
#include <string>

// The bundle `name` in `folder` as a tool of the suite; null when it is none. Reads its property lists.
std::shared_ptr<VTLaunchApp> toolInBundle(platform::Folder& folder, const std::string& name);
