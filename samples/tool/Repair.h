#pragma once

// What Purgel does with "-fix": nothing to the machine, but it takes its time like a real repair and
// then posts the suite-wide notification VTKVDPurgelComplete. A root process posts as the console user
// when somebody is there. Shows no window. Returns the exit status: 0, or 1 when nobody could be told.
int repair();
