// SPDX-License-Identifier: GPL-2.0-or-later
// A program with the platform that lies beside it: opens it as often as asked, and prints what
// ft_FunctionInit gives. What is printed after that comes with the program's end.
#include "yat/ft.h"
#include "yat/trace.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv)
{
    TraceLogInit(0, "opener", 0, 0, 0);
    for (int i = argc > 1 ? atoi(argv[1]) : 1; i > 0; --i) {
        const int opened = ft_FunctionInit();
        fprintf(stderr, "%d%s\n", opened, yat_ft_func.handle ? " open" : "");
    }
    fprintf(stderr, "end\n");
    ft_FunctionRelease();
}
