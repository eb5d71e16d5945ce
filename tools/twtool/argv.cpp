// twtool argv: how this process's own command line splits into arguments,
// as the library's programs see it. The brackets show leading and trailing
// blanks and empty arguments.
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "twcommon/unixnt.h"

#if defined(_WIN32)
#include <windows.h>
#endif

static int argv_command(const twtool::Args &) {
#if defined(_WIN32)
    SetConsoleOutputCP(CP_UTF8);  // the texts are UTF-8
#endif
    std::printf("command line: [%s]\n", GetCommandLineV());
    char **argv = nullptr;
    int count = ReparseCommandLine(&argv);
    if (count == 0) {
        std::fprintf(stderr, "twtool: out of memory splitting the command line\n");
        return 1;
    }
    for (int i = 0; i < count; ++i) std::printf("%d: [%s]\n", i, argv[i]);
    std::free(argv);
    return 0;
}

TWTOOL_COMMAND("argv", "argv [ARGUMENTS...]  how this command line splits into arguments", argv_command);
