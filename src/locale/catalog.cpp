/*
 * The message catalogue: the text of a message identifier in a locale, read
 * from the locale's catalogue files on first use and cached.
 *
 * A file lives at MSG_DIR/<locale>/<area>/<prefix>Msgs, the area directory
 * chosen by the identifier's eleventh character; a unique identifier
 * V-<product>-<number> names TrbMsgs.<product> and the classic identifier
 * TrbErr<number>N inside it. Loading a file caches every line of it that
 * belongs to the identifier's prefix and area; misses are cached too (an
 * entry with a null text), and so is the fact that a file was tried (its
 * record stays, opened or not), so no file is opened twice for one locale
 * until msgCacheUnload.
 *
 * Entries are keyed by identifier, locale and product file (none for classic
 * identifiers): every product file uses the same classic identifiers, and
 * each product's texts and misses are its own. A product file's lines also
 * fill the classic key where it has no entry yet (borrowing the text), so the
 * classic identifier finds a product's text until its own classic file is
 * read.
 *
 * Invariants: the tree, the locale records and their file records change
 * only under the cache lock; a text handed out stays valid until
 * msgCacheUnload, so a text that a later line replaces is kept on the retired
 * list until then; the locale and file names in a cache entry point into
 * their records, which live as long as the tree. Loading never changes the
 * process's locale: multi-byte characters are measured through a locale
 * object of the catalogue's own.
 */
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/alloc.h"
#include "locale/catalog_file.h"
#include "locale/localename.h"
#include "platform/fileinfo.h"
#include "platform/filestream.h"
#include "platform/locale.h"
#include "platform/mutex.h"
#include "twcommon/config.h"
#include "twcommon/containers.h"
#include "twcommon/locale.h"
#include "twcommon/text.h"

namespace {

constexpr size_t kIdLength = 11;

struct CacheEntry {
    char id[kIdLength + 1];
    const char *locale;   // the locale record's name
    const char *product;  // the product file record's name; null for a classic entry
    char *text;           // null: a remembered miss
    bool owns_text;       // false when the text belongs to a product file's entry
    unsigned load;        // the file load that cached it; 0 for a miss
    CacheEntry *next_retired;
};

struct CatalogFile {
    CatalogFile *next;
    char *name;           // "<prefix>Msgs" or "TrbMsgs.<product>"
    char *relative_path;  // area directory, separator, name
    char area_letter;     // the eleventh character of the identifier that loaded it
    bool is_product;      // a unique identifiers' file, matched by its whole name
    std::FILE *file;      // open only while loading
    int unread;           // 1 until the file has been read
};

struct LocaleRecord {
    LocaleRecord *next;
    char *name;       // as the caller gave it
    char *real_name;  // the runtime's name for it; == name when they agree
    char *directory;  // MSG_DIR/<name>, or null when it does not exist
    tw::os::CharacterSet *charset;  // real_name's characters; null: unknown to the runtime
    CatalogFile *files;
};

struct ProductArea {
    char letter;  // 0 in the default row
    const char *directory;
};

constexpr ProductArea kAreas[] = {
    {'H', "hsm"},
    {'V', "vault"},
    {'X', "xfer"},
    {0, "tallowind"},
};

std::atomic<tw::os::Mutex *> cache_lock{nullptr};
AVLtree *cache_tree = nullptr;
unsigned last_load = 0;  // numbers the file loads, so a failed one can be undone
LocaleRecord *locales = nullptr;  // newest first
CacheEntry *retired = nullptr;    // replaced texts handed out before, freed by msgCacheUnload

// ---- small helpers ----

char *copy_text(const char *text) { return tw::copy_text(text, std::strlen(text)); }

// A new heap string joining up to four parts.
char *join(const char *a, const char *b, const char *c = "", const char *d = "", const char *e = "") {
    const size_t n = std::strlen(a) + std::strlen(b) + std::strlen(c) + std::strlen(d) + std::strlen(e) + 1;
    char *s = static_cast<char *>(tw::mem_alloc(n));
    if (s) Q_snprintf(s, unsigned(n), "%s%s%s%s%s", a, b, c, d, e);
    return s;
}

const char *area_directory(char letter) {
    const ProductArea *area = kAreas;
    while (area->letter && area->letter != letter) ++area;
    return area->directory;
}

// ---- the cache lock ----

// Takes the lock, creating it on first use; null when it cannot be had.
tw::os::Mutex *take_cache_lock() {
    tw::os::Mutex *lock = cache_lock.load();
    if (!lock) {
        tw::os::Mutex *created = tw::os::mutex_create();
        if (!created) return nullptr;
        if (cache_lock.compare_exchange_strong(lock, created))
            lock = created;
        else
            tw::os::mutex_close(created);  // another thread was first
    }
    switch (tw::os::mutex_lock(lock)) {
    case tw::os::LockResult::acquired: return lock;
    case tw::os::LockResult::abandoned: tw::os::mutex_unlock(lock); return nullptr;
    default: return nullptr;
    }
}

// ---- the tree ----

// Classic entries (no product) come before every product's entries.
int compare_products(const char *a, const char *b) {
    if (!a || !b) return a ? 1 : b ? -1 : 0;
    return std::strcmp(a, b);
}

int compare_entries(const void *key, const void *item) {
    auto *a = static_cast<const CacheEntry *>(key);
    auto *b = static_cast<const CacheEntry *>(item);
    int order = std::strcmp(a->id, b->id);
    if (order == 0) order = std::strcmp(a->locale, b->locale);
    return order != 0 ? order : compare_products(a->product, b->product);
}

void free_entry(void *item) {
    auto *entry = static_cast<CacheEntry *>(item);
    if (entry->owns_text) tw::mem_free(entry->text);
    tw::mem_free(entry);
}

CacheEntry *find_entry(const char *id, const char *locale, const char *product) {
    if (!cache_tree) return nullptr;
    CacheEntry key{};
    Q_strlcpy(key.id, id, sizeof key.id);
    key.locale = locale;
    key.product = product;
    return static_cast<CacheEntry *>(AVLretrieve(cache_tree, &key));
}

// Caches text (may be null) for (id, locale, product), owned by the entry
// when owns; a text already cached for them is replaced, and kept on the
// retired list when it was owned, since it may have been handed out. False
// when memory ran out (an owned text is then freed).
bool cache_text(const char *id, const char *locale, const char *product, char *text, bool owns,
                unsigned load = 0) {
    auto *entry = static_cast<CacheEntry *>(tw::mem_alloc(sizeof(CacheEntry)));
    if (!entry) {
        if (owns) tw::mem_free(text);
        return false;
    }
    Q_strlcpy(entry->id, id, sizeof entry->id);
    entry->locale = locale;
    entry->product = product;
    entry->text = text;
    entry->owns_text = owns;
    entry->load = load;
    entry->next_retired = nullptr;
    auto *present = static_cast<CacheEntry *>(AVLinsert(cache_tree, entry));
    if (present == entry) return true;
    if (!present) {
        free_entry(entry);
        return false;
    }
    // A later line for the same key wins; the new block keeps the old text.
    std::swap(present->text, entry->text);
    std::swap(present->owns_text, entry->owns_text);
    present->load = load;
    if (entry->owns_text && entry->text) {
        entry->next_retired = retired;
        retired = entry;
    } else {
        free_entry(entry);
    }
    return true;
}

// ---- locale and file records ----

void free_file_records(CatalogFile *file) {
    while (file) {
        CatalogFile *next = file->next;
        if (file->file) std::fclose(file->file);
        tw::mem_free(file->name);
        tw::mem_free(file->relative_path);
        tw::mem_free(file);
        file = next;
    }
}

void free_locale_record(LocaleRecord *record) {
    free_file_records(record->files);
    tw::os::character_set_close(record->charset);
    if (record->real_name != record->name) tw::mem_free(record->real_name);
    tw::mem_free(record->name);
    tw::mem_free(record->directory);
    tw::mem_free(record);
}

LocaleRecord *new_locale_record(const char *locale) {
    auto *record = static_cast<LocaleRecord *>(tw::mem_calloc(1, sizeof(LocaleRecord)));
    if (!record) return nullptr;
    record->name = copy_text(locale);
    record->directory = join(getOrrickString("MSG_DIR"), getOrrickString("_ps"), locale);
    if (!record->name || !record->directory) {
        free_locale_record(record);
        return nullptr;
    }
    record->real_name = record->name;
    if (!tw::os::directory_exists(record->directory)) {
        tw::mem_free(record->directory);
        record->directory = nullptr;
        return record;
    }
    char mapped[128];
    const char *real = tw::locale::common_to_real_locale(locale, mapped, sizeof mapped);
    if (std::strcmp(real, locale) != 0) {
        record->real_name = copy_text(real);
        if (!record->real_name) {
            record->real_name = record->name;
            free_locale_record(record);
            return nullptr;
        }
    }
    record->charset = tw::os::character_set_open(record->real_name);
    return record;
}

// The record of locale, made (with the tree, the first time) when missing.
LocaleRecord *locale_record(const char *locale) {
    for (LocaleRecord *r = locales; r; r = r->next)
        if (std::strcmp(r->name, locale) == 0) return r;
    if (!cache_tree && !(cache_tree = AVLopen(compare_entries, free_entry))) return nullptr;
    LocaleRecord *record = new_locale_record(locale);
    if (!record) return nullptr;
    record->next = locales;
    locales = record;
    return record;
}

// Which file a lookup needs: for a classic identifier "<prefix>Msgs" in the
// area of its eleventh character, for a unique one the named file.
struct FileWanted {
    const char *id;         // the (classic) identifier looked up
    const char *umi_name;   // "TrbMsgs.<product>", or null
};

bool is_wanted(const CatalogFile *file, const FileWanted &wanted) {
    if (wanted.umi_name) return file->is_product && std::strcmp(file->name, wanted.umi_name) == 0;
    return !file->is_product && std::strncmp(file->name, wanted.id, 3) == 0 && file->area_letter == wanted.id[10];
}

CatalogFile *new_file_record(LocaleRecord *record, const FileWanted &wanted) {
    auto *file = static_cast<CatalogFile *>(tw::mem_calloc(1, sizeof(CatalogFile)));
    if (!file) return nullptr;
    char prefix[4] = {wanted.id[0], wanted.id[1], wanted.id[2], '\0'};
    file->name = wanted.umi_name ? copy_text(wanted.umi_name) : join(prefix, "Msgs");
    file->relative_path =
        file->name ? join(area_directory(wanted.id[10]), getOrrickString("_ps"), file->name) : nullptr;
    if (!file->name || !file->relative_path) {
        free_file_records(file);
        return nullptr;
    }
    file->area_letter = wanted.id[10];
    file->is_product = wanted.umi_name != nullptr;
    file->unread = 1;
    file->next = record->files;
    record->files = file;
    return file;
}

struct LoadContext {
    const char *locale;
    const char *product;  // the product file's name, or null
    unsigned load;
};

// A product file's line is entered under its product and, where the classic
// key has no entry yet (or one from an earlier line of this load), under the
// classic key too, borrowing the text: a classic answer once given changes
// only when the classic file itself is read.
bool cache_line(void *context, const char *id, char *text) {
    auto *load = static_cast<LoadContext *>(context);
    if (!cache_text(id, load->locale, load->product, text, true, load->load)) return false;
    if (!load->product) return true;
    CacheEntry *classic = find_entry(id, load->locale, nullptr);
    if (!classic) return cache_text(id, load->locale, nullptr, text, false, load->load);
    if (!classic->owns_text && classic->load == load->load) classic->text = text;
    return true;
}

int loaded_by(void *item, void *load) {
    return static_cast<CacheEntry *>(item)->load == *static_cast<unsigned *>(load);
}

// Reads the file of a new record whole, its escapes decoded in the
// locale's character set, and closes it. False when memory ran out: what
// the load cached is then removed again, as if the file had not been tried.
bool load_file(LocaleRecord *record, CatalogFile *file, const char *id) {
    char *path = join(record->directory, getOrrickString("_ps"), file->relative_path);
    if (!path) return false;
    file->file = tw::os::open_file_stream(path, "rb");
    tw::mem_free(path);
    if (!file->file) return true;

    LoadContext context{record->name, file->is_product ? file->name : nullptr, ++last_load};
    const bool complete = tw::locale::read_catalog(file->file, id, record->charset, cache_line, &context);

    std::fclose(file->file);
    file->file = nullptr;
    file->unread = 0;
    if (!complete) {
        while (void *entry = AVLcull(cache_tree, loaded_by, &context.load)) free_entry(entry);
    }
    return complete;
}

const char *lookup_locked(const char *locale, const FileWanted &wanted) {
    if (CacheEntry *hit = find_entry(wanted.id, locale, wanted.umi_name)) return hit->text;
    LocaleRecord *record = locale_record(locale);
    if (!record) return nullptr;

    // A product's misses are keyed by its file record, so a locale without a
    // directory gets the record too, though it is never opened.
    CatalogFile *file = record->files;
    while (file && !is_wanted(file, wanted)) file = file->next;
    if (!file && (record->directory || wanted.umi_name)) {
        file = new_file_record(record, wanted);
        if (!file) return nullptr;
        if (record->directory && !load_file(record, file, wanted.id)) {
            record->files = file->next;  // try the file again next time
            file->next = nullptr;
            free_file_records(file);
            return nullptr;
        }
    }
    const char *product = wanted.umi_name ? file->name : nullptr;
    if (CacheEntry *loaded = find_entry(wanted.id, record->name, product)) return loaded->text;
    cache_text(wanted.id, record->name, product, nullptr, true);  // remember the miss
    return nullptr;
}

const char *lookup(const char *locale, const FileWanted &wanted) {
    tw::os::Mutex *lock = take_cache_lock();
    if (!lock) return nullptr;
    const char *text = lookup_locked(locale, wanted);
    tw::os::mutex_unlock(lock);
    return text;
}

bool is_digits(const char *text, size_t length) {
    if (length == 0) return false;
    for (size_t i = 0; i < length; ++i)
        if (text[i] < '0' || text[i] > '9') return false;
    return true;
}

// Maps "V-<product>-<number>" to the classic identifier "TrbErr%.4dN" and
// the file name "TrbMsgs.<product>"; false when it has another shape.
bool map_umi(const char *umi, char (&id)[kIdLength + 1], char (&file_name)[64]) {
    if (umi[0] != 'V' || umi[1] != '-') return false;
    const char *product = umi + 2;
    const char *dash = std::strchr(product, '-');
    if (!dash || dash == product) return false;
    const char *number = dash + 1;
    const size_t number_length = std::strlen(number);
    // Four digits at most keep the identifier at 11 characters; a product
    // code is a name part, never a path.
    if (!is_digits(number, number_length) || std::strtol(number, nullptr, 10) > 9999) return false;
    const size_t product_length = size_t(dash - product);
    if (product_length > 32 || std::strcspn(product, "/\\:") < product_length) return false;
    Q_snprintf(id, sizeof id, "TrbErr%.4dN", int(std::strtol(number, nullptr, 10)));
    Q_snprintf(file_name, sizeof file_name, "TrbMsgs.%.*s", int(product_length), product);
    return true;
}

bool valid_locale(const char *locale) { return locale && locale[0]; }

}  // namespace

extern "C" {

const char *getLocalMsgFmt(const char *locale, const char *id) {
    if (!valid_locale(locale) || !id || std::strlen(id) != kIdLength) return nullptr;
    return lookup(locale, FileWanted{id, nullptr});
}

const char *getLocalMsgFmtUMI(const char *locale, const char *umi) {
    if (!valid_locale(locale) || !umi) return nullptr;
    char id[kIdLength + 1];
    char file_name[64];
    if (!map_umi(umi, id, file_name)) return nullptr;
    return lookup(locale, FileWanted{id, file_name});
}

void msgCacheUnload(void) {
    if (cache_tree) {
        tw::os::Mutex *lock = take_cache_lock();
        if (!lock) return;
        AVLclose(cache_tree);
        cache_tree = nullptr;
        while (CacheEntry *entry = retired) {
            retired = entry->next_retired;
            free_entry(entry);
        }
        tw::os::mutex_unlock(lock);
    }
    while (LocaleRecord *record = locales) {
        locales = record->next;
        free_locale_record(record);
    }
}

}  // extern "C"
