// Quoting for NT command lines: a path or command given with any double
// quotes (which must pair up) comes back wrapped in exactly one pair, so that
// blanks inside it survive.
#include <cstring>

#include "base/alloc.h"
#include "twcommon/config.h"
#include "twcommon/text.h"

extern "C" {

char *createNTOrrickString(const char *text) {
    if (!text || !*text) return nullptr;
    char *quoted = static_cast<char *>(tw::mem_alloc(std::strlen(text) + 3));
    if (!quoted) return nullptr;
    char *out = quoted;
    *out++ = '"';
    bool open = false;
    for (const char *p = text; *p; ++p) {
        if (*p == '"')
            open = !open;
        else
            *out++ = *p;
    }
    if (open) {
        tw::mem_free(quoted);
        return nullptr;
    }
    *out++ = '"';
    *out = '\0';
    return quoted;
}

char *changeToNTOrrickString(char *text, unsigned int size) {
    if (!text || !std::strchr(text, '"')) return text;
    if (char *quoted = createNTOrrickString(text)) {
        Q_strlcpy(text, quoted, size);
        tw::mem_free(quoted);
    }
    return text;
}

}  // extern "C"
