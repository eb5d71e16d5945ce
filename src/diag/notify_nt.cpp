/*
 * Notify scripts: command files the product's daemons start at fixed points
 * of a job. They run hidden on the interactive desktop, in a console of their
 * own, with no standard handles, and the caller either waits for their end
 * or not. A script's exit code is not the caller's concern: only whether it
 * could be started (and, when waiting, whether its end could be read).
 *
 * When the command line begins with a quoted program path, that path is
 * passed as the application name, and the command line names the program
 * with each path component holding white space quoted on its own.
 */
#include <windows.h>

#include <cstring>

#include "base/alloc.h"
#include "twcommon/text.h"
#include "twcommon/diag.h"
#include "twcommon/unixnt.h"

namespace {

// CREATE_DEFAULT_ERROR_MODE | CREATE_NO_WINDOW | CREATE_NEW_CONSOLE
constexpr DWORD kNotifyCreationFlags = 0x0C000010;

#if !defined(_WIN64)
static_assert(sizeof(STARTUPINFOA) == 68, "the startup information of 32-bit NT");
#endif

bool is_white_space(char c) { return Q_isspace(static_cast<unsigned char>(c)); }
bool is_separator(char c) { return c == '\\' || c == '/'; }

// program with every component that holds white space in double quotes,
// followed by arguments; null when memory runs out.
char *command_line_with_quoted_components(const char *program, const char *arguments) {
    size_t program_length = std::strlen(program);
    // At most one component per character plus one, each gaining two quotes.
    auto line = static_cast<char *>(tw::mem_alloc(3 * program_length + 2 + std::strlen(arguments) + 1));
    if (!line) return nullptr;
    char *out = line;
    for (const char *p = program; *p || p == program;) {
        const char *end = p;
        bool blank = false;
        for (; *end && !is_separator(*end); ++end) blank = blank || is_white_space(*end);
        if (blank) *out++ = '"';
        std::memcpy(out, p, size_t(end - p));
        out += end - p;
        if (blank) *out++ = '"';
        if (!*end) break;
        *out++ = *end;
        p = end + 1;
    }
    std::strcpy(out, arguments);
    return line;
}

int run_notify_script(const char *command, bool wait) {
    if (!command) return -1;
    char *nt_line = newNTCmdLine(command);
    if (!nt_line) return -1;
    char *application = nullptr;
    char *rebuilt = nullptr;
    if (nt_line[0] == '"') {
        const char *program = nt_line + 1;
        const char *close = std::strchr(program, '"');
        size_t length = close ? size_t(close - program) : std::strlen(program);
        application = tw::copy_text(program, length);
        rebuilt = application ? command_line_with_quoted_components(application, program + length + (close ? 1 : 0))
                              : nullptr;
        if (!rebuilt) {  // then the line as it was, without an application name
            tw::mem_free(application);
            application = nullptr;
        }
    }

    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.lpDesktop = const_cast<char *>("winsta0\\default");
    startup.dwFlags = STARTF_USESHOWWINDOW | STARTF_USESTDHANDLES;
    startup.wShowWindow = SW_HIDE;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = INVALID_HANDLE_VALUE;
    PROCESS_INFORMATION process = {};
    int result = -1;
    if (CreateProcessV(application, rebuilt ? rebuilt : nt_line, nullptr, nullptr, FALSE, kNotifyCreationFlags,
                       nullptr, nullptr, &startup, &process)) {
        result = 0;
        if (wait) {
            DWORD exit_code = 0;
            WaitForSingleObject(process.hProcess, INFINITE);
            if (!GetExitCodeProcess(process.hProcess, &exit_code)) result = -1;
        }
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }
    tw::mem_free(rebuilt);
    tw::mem_free(application);
    FreeNTCmdLine(nt_line);
    return result;
}

}  // namespace

extern "C" {

int runNotifyScript(const char *command) { return run_notify_script(command, true); }

int runNotifyScriptNoWait(const char *command) { return run_notify_script(command, false); }

}  // extern "C"
