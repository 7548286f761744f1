#pragma once

#include "Platform.h"

#include <memory>

// The services that need neither a display nor the user's preferences.
platform::Platform basicServices(std::shared_ptr<platform::Workspace> workspace);
