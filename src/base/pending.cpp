// TEMPORARY: weak stand-ins for functions whose facilities are being written
// in parallel, so that each facility links before the others land. Each real
// definition replaces its stand-in at link time; this file goes away once all
// of them exist. The public headers are not included: a weak symbol cannot
// be exported from a DLL, and the stand-ins only serve calls inside it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#define TW_PENDING extern "C" __attribute__((weak))

TW_PENDING const char *getOrrickString(const char *) { return ""; }
TW_PENDING char *expandOrrickString(const char *text) { return strdup(text ? text : ""); }
TW_PENDING int freeOrrickString(char *text) {
    free(text);
    return 1;
}
TW_PENDING char *createNTOrrickString(const char *text) { return text ? strdup(text) : nullptr; }
TW_PENDING const char *getModuleID(void) { return "twcommon"; }
TW_PENDING void Q_Openlog(const char *) {}
TW_PENDING void Q_Syslog(uint32_t, int, const char *, ...) {}
TW_PENDING void Q_Closelog(void) {}
TW_PENDING char *GetErrorMessageStr(uint32_t code, char *buf, int size) {
    if (buf && size > 0) snprintf(buf, size_t(size), "Error: %u", unsigned(code));
    return buf;
}
TW_PENDING const char *common2reallocale(const char *common) { return common; }
TW_PENDING char *newNTCmdLine(const char *command) { return strdup(command ? command : ""); }
TW_PENDING void FreeNTCmdLine(char *command_line) { free(command_line); }
