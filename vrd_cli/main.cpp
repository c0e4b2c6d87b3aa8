// The command `vrd`.
#include "command_line.h"

int main(int argc, char** argv) {
    return BX_RunCommandLine(argc, argv);
}
