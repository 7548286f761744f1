#pragma once

// `Launcher --list`: prints the suite's tools and gives the exit status. Needs no display and leaves
// nothing behind: no log file, no preferences. Whatever the scan has to say goes to standard error.
int runListCommand(bool asJson);
