/*
 * Path-name conversions between the NT form and the Unix form that the
 * product stores and sends over the network, and a Unix-style chmod.
 *
 * NT to Unix: a drive path "X:\a" becomes "/X/a", a network path "\\h\s"
 * becomes "/\\h/s", and the device form "\\.\X:" is kept as it stands behind
 * the "/". Every other "\" becomes "/" and every "/" becomes "\". Unix to
 * another form reverses that with a chosen drive suffix and separator.
 * Every output is terminated within the caller's size and nothing is written
 * beyond it; a piece that does not fit ends the output there.
 */
#include <cstring>

#include "platform/filenames.h"
#include "twcommon/config.h"
#include "twcommon/text.h"

namespace {

// Appends whole pieces to a buffer of limit bytes plus a terminator; the
// first piece that does not fit fills the writer, and nothing follows it.
class BoundedWriter {
public:
    BoundedWriter(char *dst, size_t limit) : dst_(dst), limit_(limit) {}
    void put(const char *bytes, size_t count) {
        if (full_ || count > limit_ - used_) {
            full_ = true;
            return;
        }
        std::memcpy(dst_ + used_, bytes, count);
        used_ += count;
    }
    void put(char c) { put(&c, 1); }
    void put(const char *text) { put(text, std::strlen(text)); }
    void finish() { dst_[used_] = '\0'; }

private:
    char *dst_;
    size_t limit_;
    size_t used_ = 0;
    bool full_ = false;
};

// Bytes of the character at p: a lead byte and its trail form one character.
size_t single_byte(const char *) { return 1; }
size_t code_page_character(const char *p) {
    return tw::os::is_lead_byte(static_cast<unsigned char>(p[0])) && p[1] ? 2 : 1;
}

using CharacterLength = size_t (*)(const char *);

// "\\.\X:" and nothing more.
bool is_device_form(const char *path) {
    return path[0] == '\\' && path[1] == '\\' && path[2] == '.' && path[3] == '\\' && path[4] && path[5] == ':' &&
           path[6] == '\0';
}

// Writes the Unix form of an NT path.
void dos_to_unix(const char *path, BoundedWriter &out, CharacterLength length_at) {
    const char *first = nullptr;  // the first ":" or "\"
    for (const char *p = path; *p; p += length_at(p))
        if (*p == ':' || *p == '\\') {
            first = p;
            break;
        }
    const char *rest = path;
    if (first && *first == ':' && (first[1] == '\\' || first[1] == '\0')) {
        out.put('/');
        for (const char *p = path; p < first; p += length_at(p)) out.put(p, length_at(p));
        rest = first + 1;
    } else if (path[0] == '\\' && path[1] == '\\') {
        out.put('/');
        size_t kept = is_device_form(path) ? 6 : 2;
        out.put(path, kept);
        rest = path + kept;
    }
    for (const char *p = rest; *p; p += length_at(p)) {
        if (*p == '\\')
            out.put('/');
        else if (*p == '/')
            out.put('\\');
        else
            out.put(p, length_at(p));
    }
    out.finish();
}

}  // namespace

extern "C" {

char *name_dos2unix(char *out, const char *path, unsigned size) {
    if (!out || size == 0) return out;
    char work[1024];
    BoundedWriter writer(work, sizeof work - 1);
    dos_to_unix(path ? path : "", writer, single_byte);
    Q_strlncpy(out, work, sizeof work, size);
    return out;
}

char *name_dos2unixMB(char *out, const char *path, unsigned size) {
    if (!out || size == 0) return out;
    BoundedWriter writer(out, size >= 2 ? size - 2 : 0);
    dos_to_unix(path ? path : "", writer, code_page_character);
    return out;
}

void name_unix2misc(char *out, const char *path, unsigned size, const char *suffix, const char *separator) {
    if (!out || size == 0) return;
    if (!suffix) suffix = "";
    if (!separator) separator = "";
    BoundedWriter writer(out, size - 1);
    const char *p = path ? path : "";
    if (p[0] == '/' && p[1] == '\\' && p[2] == '\\') {
        writer.put("\\\\");
        p += 3;
    } else if (p[0] == '/' && p[1] != '/') {
        // The drive: the first component without "=" characters, then the
        // suffix. The "/" after it becomes a separator like any other, so
        // that "/X/a" and "X:\a" convert into each other.
        for (++p; *p && *p != '/'; ++p)
            if (*p != '=') writer.put(*p);
        writer.put(suffix);
    }
    for (; *p; ++p) {
        if (*p == '/' || *p == '\\')
            writer.put(separator);
        else
            writer.put(*p);
    }
    writer.finish();
}

int NTchmod(const char *path, int mode) {
    // Flag bits the NT runtime ignores; it acts on the owner-write bit alone.
    int flags = mode;
    if (mode & 0020) flags |= 0x380000;
    if (mode & 0200) flags |= 0x1C00000;
    if (mode & 0002) flags |= 0x40000;
    return tw::os::runtime_chmod(path, flags);
}

int create_dir_list(void *, void *, char ***list) {
    if (list) *list = nullptr;
    return 2;
}

}  // extern "C"
