#pragma once

#include <string>

// What Purgel does with "-fix": it fills a cache of its own below the suite's Library folder and clears it
// again, file by file, which takes about three seconds, and then has vtpost post the suite-wide notification
// VTKVDPurgelComplete. Nothing else on the machine is touched. Shows no window. Returns the exit status: 0,
// or 1 when it could not do its work or tell anybody.
//
// The suite is the folder that holds the Applications folder with the bundle. vtpost is looked for among the
// suite's shared resources, then in a Launcher.app beside the suite.
int repair(const std::string& bundlePath);
