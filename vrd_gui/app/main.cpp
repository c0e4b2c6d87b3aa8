#include "start_up.h"

int main(int argc, char** argv) {
    return BX_RunApplication(argc, argv);
}
