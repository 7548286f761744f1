#pragma once

// Opens the panel, or has the running Launcher show its own, and runs the main loop to its end. The arguments
// are the command line's, of which the toolkit may take some. Returns the program's exit status. On the main
// thread, once.
int openPanel(int argc, char** argv);
