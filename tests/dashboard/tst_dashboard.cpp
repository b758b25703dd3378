// SPDX-License-Identifier: MIT
#include "WindowUnderTest.h"
int main(int argc, char **argv)
{
    beLoadCheck(argc, argv);
    return 0;
}
