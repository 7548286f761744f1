#pragma once

#include <string>

// What Purgel does with "-fix": it fills a cache of its own below the suite's Library folder and clears it
// again, file by file, which takes about three seconds, and then has vtpost post the suite-wide notification
// VTKVDPurgelComplete. Nothing else on the machine is touched. Shows no window. Returns the exit status: 0,
// or 1 when it could not do its work or tell anybody.
//
// The suite is the folder that holds the Applications folder with the bundle. vtpost is the
// installed one; only an ordinary user's is looked for in a Launcher.app beside the suite first, as it is in
// a build tree.
int repair(const std::string& bundlePath);
