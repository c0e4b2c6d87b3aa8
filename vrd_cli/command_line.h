// The command line of `vrd`: what stands on it, what it asks for, and the exit status.
#pragma once

// Runs the command and returns the exit status of the process: one of EBxExit, or 128 + the number of the signal that
// interrupted it. Throws nothing.
int BX_RunCommandLine(int argc, char** argv);
