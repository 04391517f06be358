// SPDX-License-Identifier: MIT
// The command-line program: quietfloor IN OUT.
#include "tools/command/Program.h"

int main(int argc, char **argv) { return quietfloor::RunProgram({argv + (argc > 0 ? 1 : 0), argv + argc}); }
