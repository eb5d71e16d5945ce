/*
 * CreateProcessV: NT process creation with UTF-8 texts. The application
 * name, command line, current directory and the three texts of the startup
 * information are converted into six work buffers of 8192 bytes (4095 wide
 * characters and a terminator each); longer texts are cut. Missing texts
 * stay missing (null), and the environment block is passed on as it is.
 * With neither an application name nor a command line there is nothing to
 * start: the call is refused before anything is allocated.
 */
#include <windows.h>

#include "base/alloc.h"
#include "twcommon/text.h"
#include "twcommon/unixnt.h"

namespace {

constexpr size_t kWorkBufferBytes = 8192;
constexpr size_t kWorkBufferChars = kWorkBufferBytes / sizeof(wchar_t);
enum WorkBuffer { application_name, command_line, directory, reserved, desktop, title, work_buffer_count };

// The UTF-8 text in buffer as UTF-16, or null for no text.
wchar_t *widened(const char *text, wchar_t *buffer) {
    if (!text) return nullptr;
    size_t n = utf8_mbstowcs(buffer, text, kWorkBufferChars - 1);
    buffer[n] = L'\0';
    return buffer;
}

}  // namespace

extern "C" BOOL CreateProcessV(const char *application, char *command, LPSECURITY_ATTRIBUTES process_security,
                               LPSECURITY_ATTRIBUTES thread_security, BOOL inherit_handles, DWORD creation_flags,
                               LPVOID environment, const char *current_directory, LPSTARTUPINFOA startup,
                               LPPROCESS_INFORMATION process) {
    wchar_t *buffers[work_buffer_count] = {};
    BOOL result = FALSE;
    if (!application && !command) {  // nothing to start: refused as the system would
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    for (auto &buffer : buffers) {
        buffer = static_cast<wchar_t *>(tw::mem_alloc(kWorkBufferBytes));
        if (!buffer) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            goto release;
        }
    }
    {
        STARTUPINFOW wide_startup;
        if (startup) {
            wide_startup.cb = sizeof wide_startup;
            wide_startup.lpReserved = widened(startup->lpReserved, buffers[reserved]);
            wide_startup.lpDesktop = widened(startup->lpDesktop, buffers[desktop]);
            wide_startup.lpTitle = widened(startup->lpTitle, buffers[title]);
            wide_startup.dwX = startup->dwX;
            wide_startup.dwY = startup->dwY;
            wide_startup.dwXSize = startup->dwXSize;
            wide_startup.dwYSize = startup->dwYSize;
            wide_startup.dwXCountChars = startup->dwXCountChars;
            wide_startup.dwYCountChars = startup->dwYCountChars;
            wide_startup.dwFillAttribute = startup->dwFillAttribute;
            wide_startup.dwFlags = startup->dwFlags;
            wide_startup.wShowWindow = startup->wShowWindow;
            wide_startup.cbReserved2 = startup->cbReserved2;
            wide_startup.lpReserved2 = startup->lpReserved2;
            wide_startup.hStdInput = startup->hStdInput;
            wide_startup.hStdOutput = startup->hStdOutput;
            wide_startup.hStdError = startup->hStdError;
        } else {
            GetStartupInfoW(&wide_startup);
        }
        result = CreateProcessW(widened(application, buffers[application_name]),
                                widened(command, buffers[command_line]), process_security, thread_security,
                                inherit_handles, creation_flags, environment,
                                widened(current_directory, buffers[directory]), &wide_startup, process);
    }
release:
    for (auto buffer : buffers) tw::mem_free(buffer);
    return result;
}
