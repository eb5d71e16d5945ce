/*
 * The named path table: symbolic names (BP_LOGS, _ps, ...) mapped to
 * templates, the registry's Paths key laid over the built-in rows, cached
 * expansions, and the reverse index from Unix command paths.
 *
 * Invariants:
 * - The table is built once, on first use, and lives as long as the process
 *   (only an explicit unload of the library releases it); registry changes
 *   made later are not seen.
 * - No chain of references leads back to where it started: built-in rows
 *   have no cycles, and a registry row's cyclic references are replaced by
 *   the referenced template when the row is applied. Expansion relies on it.
 * - An expansion, once cached, is never freed while the process runs, so
 *   callers may keep the pointers getOrrickString hands out. An expansion
 *   that is the template itself is no copy and is not freed apart from it.
 * - Chains of references are as long as the overlay makes them, so every
 *   walk along them (cycle test, replacement, expansion) keeps its path in
 *   a heap stack, never in recursion, and looks at each entry once.
 * - Everything here is guarded by one recursive module mutex, made once per
 *   process on first use.
 */
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <atomic>
#include <chrono>
#include <thread>

#include "base/alloc.h"
#include "base/assertion.h"
#include "config/paths_rows.h"
#include "config/paths_template.h"
#include "config/release.h"
#include "config/report.h"
#include "platform/mutex.h"
#include "twcommon/config.h"
#include "twcommon/containers.h"
#include "twcommon/diag.h"

namespace {

using tw::config::report;
using namespace tw::paths;

struct Entry {
    const char *name;
    int name_owned;  // a heap copy (rows added by the registry)
    const char *template_text;
    int template_owned;      // came through the registry
    const char *expansion;   // null until asked for
    const char *unix_path;   // set when the reverse index is built
    int references;          // one per tree holding the entry
    // What the current walk over the references learnt of this entry;
    // valid only while mark_walk is the current walk's number.
    uint64_t mark_walk;
    int mark;
};

const char kNothing[] = "";  // the value of every unknown name

// Once the table is complete, lookups by name go through a hash index of
// the same entries (open addressing, a power-of-two number of slots at
// least twice the entries); the tree stays the table itself.
struct NameIndex {
    Entry **slots = nullptr;
    size_t mask = 0;
};

struct Module {
    AVLtree *table = nullptr;
    AVLtree *reverse_index = nullptr;
    NameIndex by_name;
    int lock_count = 0;
    uint64_t walks = 0;  // the number of the latest walk (see Entry::mark)
};
Module module;
std::atomic<tw::os::Mutex *> module_mutex{nullptr};

// ---- the module lock

// The module mutex, made on first use; null when it cannot be made now.
// Threads that race here may each make one, but only the first stored is
// ever used: the others close theirs at once. No named object takes part,
// so another program's kernel objects cannot stand in the way.
tw::os::Mutex *module_mutex_now() {
    tw::os::Mutex *mutex = module_mutex.load(std::memory_order_acquire);
    if (mutex) return mutex;
    tw::os::Mutex *made = tw::os::mutex_create();
    if (!made) return nullptr;
    if (module_mutex.compare_exchange_strong(mutex, made, std::memory_order_acq_rel, std::memory_order_acquire))
        return made;
    tw::os::mutex_close(made);
    return mutex;
}

// Between tries of a mutex that cannot be made or taken (no memory, no
// handles): a pause growing to a tenth of a second, so a caller that must
// wait does not burn a processor doing so.
void pause_before_retry(int attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(attempt < 7 ? 1 << attempt : 100));
}

class ModuleLock {
public:
    ModuleLock() {
        for (int attempt = 0;; attempt += attempt < 7) {
            mutex_ = module_mutex_now();
            if (mutex_ && tw::os::mutex_lock(mutex_) != tw::os::LockResult::failed) return;
            pause_before_retry(attempt);
        }
    }
    ~ModuleLock() { tw::os::mutex_unlock(mutex_); }
    ModuleLock(const ModuleLock &) = delete;
    ModuleLock &operator=(const ModuleLock &) = delete;

private:
    tw::os::Mutex *mutex_;
};

// ---- entries

// Names compare from their third character on, then by the first and the
// second; characters are signed. Names shorter than two characters (never
// in the table) compare safely all the same.
const signed char *name_tail(const char *name) {
    const char *tail = name[0] && name[1] ? name + 2 : name + (name[0] != 0);
    return reinterpret_cast<const signed char *>(tail);
}

int compare_names(const char *a, const char *b) {
    const signed char *x = name_tail(a), *y = name_tail(b);
    while (*x && *x == *y) ++x, ++y;
    if (*x != *y) return *x - *y;
    if (a[0] != b[0] || !a[0]) return static_cast<signed char>(a[0]) - static_cast<signed char>(b[0]);
    return static_cast<signed char>(a[1]) - static_cast<signed char>(b[1]);
}

int compare_entries(const void *key, const void *item) {
    return compare_names(static_cast<const Entry *>(key)->name, static_cast<const Entry *>(item)->name);
}

int compare_unix_paths(const void *key, const void *item) {
    return std::strcmp(static_cast<const Entry *>(key)->unix_path, static_cast<const Entry *>(item)->unix_path);
}

void drop_expansion(Entry *e) {
    if (e->expansion != e->template_text) tw::mem_free(const_cast<char *>(e->expansion));
    e->expansion = nullptr;
}

void drop_template(Entry *e) {
    drop_expansion(e);
    if (e->template_owned) tw::mem_free(const_cast<char *>(e->template_text));
    e->template_text = nullptr;
    e->template_owned = 0;
}

void release_entry(void *item) {
    auto *e = static_cast<Entry *>(item);
    if (--e->references > 0) return;
    drop_template(e);
    if (e->name_owned) tw::mem_free(const_cast<char *>(e->name));
    tw::mem_free(e);
}

// The first and the last eight bytes and the length: cheap, and enough to
// tell the table's names apart (a collision only costs a probe).
size_t hash_name(const char *name, size_t length) {
    uint64_t head = 0, tail = 0;
    if (length >= 8) {
        std::memcpy(&head, name, 8);
        std::memcpy(&tail, name + length - 8, 8);
    } else {
        for (size_t i = 0; i < length; ++i) head = head << 8 | static_cast<unsigned char>(name[i]);
    }
    const uint64_t h = head * 0x9E3779B97F4A7C15ull ^ (tail + length) * 0xC2B2AE3D27D4EB4Full;
    return size_t(h ^ h >> 29);
}

void index_entry(void *item, void *argument) {
    auto *index = static_cast<NameIndex *>(argument);
    auto *e = static_cast<Entry *>(item);
    size_t i = hash_name(e->name, std::strlen(e->name)) & index->mask;
    while (index->slots[i]) i = (i + 1) & index->mask;
    index->slots[i] = e;
}

void count_entry(void *, void *argument) { ++*static_cast<size_t *>(argument); }

// Without memory for it, lookups simply stay with the tree.
void build_name_index() {
    size_t entries = 0;
    AVLiterate(module.table, count_entry, &entries);
    size_t slots = 16;
    while (slots < 2 * entries) slots *= 2;
    NameIndex index{static_cast<Entry **>(tw::mem_calloc(slots, sizeof(Entry *))), slots - 1};
    if (!index.slots) return;
    AVLiterate(module.table, index_entry, &index);
    module.by_name = index;
}

Entry *find_entry(const char *name) {
    if (!module.table || !name) return nullptr;
    if (const NameIndex &index = module.by_name; index.slots) {
        const size_t length = std::strlen(name);
        for (size_t i = hash_name(name, length) & index.mask; Entry *e = index.slots[i]; i = (i + 1) & index.mask)
            if (std::strcmp(e->name, name) == 0) return e;
        return nullptr;
    }
    Entry key{};
    key.name = name;
    return static_cast<Entry *>(AVLretrieve(module.table, &key));
}

Entry *new_entry(const char *name, int name_owned, const char *template_text, int template_owned) {
    auto *e = static_cast<Entry *>(tw::mem_alloc(sizeof(Entry)));
    if (e) *e = Entry{name, name_owned, template_text, template_owned, nullptr, nullptr, 1, 0, 0};
    return e;
}

// ---- walks over the references

// A stack on the heap for walks whose depth the overlay sets, holding its
// first few items in place. Items are plain values.
template <typename T>
class WalkStack {
public:
    WalkStack() = default;
    ~WalkStack() {
        if (items_ != first_) tw::mem_free(items_);
    }
    WalkStack(const WalkStack &) = delete;
    WalkStack &operator=(const WalkStack &) = delete;

    // False when memory ran out.
    bool push(const T &item) {
        if (size_ == capacity_) {
            const size_t more = 2 * capacity_;
            void *grown = items_ == first_ ? tw::mem_alloc(more * sizeof(T))
                                           : tw::mem_realloc(items_, more * sizeof(T));
            if (!grown) return false;
            if (items_ == first_) std::memcpy(grown, first_, sizeof first_);
            items_ = static_cast<T *>(grown);
            capacity_ = more;
        }
        items_[size_++] = item;
        return true;
    }
    T &top() { return items_[size_ - 1]; }
    void pop() { --size_; }
    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }
    T &operator[](size_t i) { return items_[i]; }

private:
    T first_[16];
    T *items_ = first_;
    size_t size_ = 0, capacity_ = 16;
};

// The name of the next reference in a template, moving *cursor on; false at
// the end. Allocates nothing.
bool next_reference(const char **cursor, const char **name, size_t *length) {
    for (;;) {
        const TokenSpan span = scan_token(cursor, Mode::store);
        if (!span.kind) return false;
        if (span.kind == kReference) {
            *name = span.name;
            *length = size_t(span.name_end - span.name);
            return true;
        }
    }
}

// A name inside a template, terminated for lookups; in place when short.
class NameCopy {
public:
    NameCopy(const char *name, size_t length)
        : text_(length < sizeof short_ ? short_ : static_cast<char *>(tw::mem_alloc(length + 1))) {
        if (!text_) return;
        std::memcpy(text_, name, length);
        text_[length] = '\0';
    }
    ~NameCopy() {
        if (text_ != short_) tw::mem_free(text_);
    }
    NameCopy(const NameCopy &) = delete;
    NameCopy &operator=(const NameCopy &) = delete;
    const char *text() const { return text_; }  // null when memory ran out

private:
    char short_[64];
    char *text_;
};

enum Mark { kUnseen, kOnPath, kLeadsBack, kLeadsElsewhere };

int mark_of(const Entry *e) { return e->mark_walk == module.walks ? e->mark : kUnseen; }

void set_mark(Entry *e, int mark) {
    e->mark_walk = module.walks;
    e->mark = mark;
}

struct WalkFrame {
    Entry *entry;
    const char *cursor;  // in its template: the references not yet followed
};

// ---- the registry overlay

// Whether the reference to name leads back to row (directly, or through the
// templates it refers to); -1 when memory ran out. What is learnt of each
// entry is kept for the rest of the current walk, which is one row's parse,
// so that an entry reached by many paths is looked at once.
int leads_back(const char *name, const char *row) {
    if (std::strcmp(name, row) == 0) return 1;
    Entry *e = find_entry(name);
    if (!e) return 0;
    if (const int mark = mark_of(e); mark != kUnseen) return mark == kLeadsBack;
    WalkStack<WalkFrame> path;
    path.push(WalkFrame{e, e->template_text});  // in place: cannot fail
    set_mark(e, kOnPath);
    while (!path.empty()) {
        const char *reference;
        size_t length;
        if (!next_reference(&path.top().cursor, &reference, &length)) {
            set_mark(path.top().entry, kLeadsElsewhere);
            path.pop();
            continue;
        }
        const NameCopy copy(reference, length);
        if (!copy.text()) return -1;
        bool back = std::strcmp(copy.text(), row) == 0;
        if (Entry *next = back ? nullptr : find_entry(copy.text())) {
            const int mark = mark_of(next);
            if (mark == kUnseen) {
                if (!path.push(WalkFrame{next, next->template_text})) return -1;
                set_mark(next, kOnPath);
                continue;
            }
            back = mark == kLeadsBack;  // an entry on the path would be a cycle: not followed
        }
        if (back) {
            // Every entry on the path leads back through this reference.
            for (size_t i = 0; i < path.size(); ++i) set_mark(path[i].entry, kLeadsBack);
            return 1;
        }
    }
    return 0;
}

// Parses text in store mode onto *newest, with each cyclic reference
// replaced by the tokens of the template it names (dropped when there is
// none), parsed the same way. False when memory ran out, or when the row
// would take more than kMaxTextLength bytes of templates to parse: rows that
// name a name many times over could otherwise inline without end.
bool parse_row(const char *text, const char *row, Token **newest) {
    ++module.walks;
    WalkStack<const char *> cursors;  // the template being parsed last
    cursors.push(text);               // in place: cannot fail
    size_t parsed = 0;
    while (!cursors.empty()) {
        const char *before = cursors.top();
        Token *t;
        if (!next_token(&cursors.top(), Mode::store, &t)) return false;
        if (!t) {
            cursors.pop();
            continue;
        }
        const char *after = cursors.top();
        parsed += after ? size_t(after - before) : std::strlen(before);
        const int cyclic = parsed > kMaxTextLength ? -1 : t->kind == kReference ? leads_back(t->text, row) : 0;
        if (cyclic == 0) {
            t->next = *newest;
            *newest = t;
            continue;
        }
        const Entry *target = cyclic > 0 ? find_entry(t->text) : nullptr;
        free_tokens(t);
        if (cyclic < 0 || (target && !cursors.push(target->template_text))) return false;
    }
    return true;
}

// Lays one registry row over the table; true when the table changed.
bool apply_registry_row(const char *name, const char *text) {
    Token *newest = nullptr;
    const char *template_text = parse_row(text, name, &newest) ? reassemble(newest, text, true) : nullptr;
    free_tokens(newest);
    if (!template_text) {
        report(5, LOG_ERR, "addToConfig (%s) - Out of memory.", name);
        return false;
    }
    char *owned = const_cast<char *>(template_text);

    if (Entry *e = find_entry(name)) {
        if (std::strcmp(e->template_text, owned) == 0) {
            tw::mem_free(owned);
            return false;
        }
        if (!*owned) {
            tw::mem_free(owned);
            AVLdelete(module.table, e);
            return true;
        }
        drop_template(e);
        e->template_text = owned;
        e->template_owned = 1;
        return true;
    }

    if (!*owned) {
        tw::mem_free(owned);
        return false;
    }
    const size_t length = std::strlen(name);
    char *name_copy = length >= 2 ? tw::copy_text(name, length) : nullptr;
    Entry *e = name_copy ? new_entry(name_copy, 1, owned, 1) : nullptr;
    if (e && AVLinsert(module.table, e) == e) return true;
    if (e) {
        release_entry(e);  // with its name and template
    } else {
        tw::mem_free(name_copy);
        tw::mem_free(owned);
    }
    // A name too short to be ordered in the table counts as no memory too.
    report(5, LOG_ERR, "addToConfig (%s) - Out of memory.", name);
    return false;
}

void forget_expansion(void *item, void *) { drop_expansion(static_cast<Entry *>(item)); }

void apply_registry() {
    PathsFile *file = openPathsFile();
    if (!file) {
        report(7, LOG_WARNING, "Cannot open registry key (%s).", tw::config::kPathsKey);
        return;
    }
    bool changed = false;
    char *name, *value;
    // A key whose values cannot be read at all (deleted under us) ends the
    // enumeration rather than spinning on it.
    for (int unreadable = 0; unreadable < 1000 && readPathsFile(file, &name, &value);) {
        if (name && value) {
            unreadable = 0;
            changed |= apply_registry_row(name, value);
        } else {
            ++unreadable;
        }
        tw::mem_free(name);
        tw::mem_free(value);
    }
    closePathsFile(file);
    if (changed) AVLiterate(module.table, forget_expansion, nullptr);
}

// ---- table load and the end of the process

void add_builtin_row(const BuiltinRow &row) {
    Entry *e = new_entry(row.name, 0, row.template_text, 0);
    void *inserted = e ? AVLinsert(module.table, e) : nullptr;
    if (inserted == e && e) return;
    tw::mem_free(e);
    if (!inserted) {
        report(4, LOG_ERR, "initaddToConfig (%s) - Out of memory.", row.name);
    } else {
        report(20, LOG_ERR, "Duplicate pathconfig label detected (%s).", row.name);
        tw::assertion_failed("1 == 2", "pathconfig", 992);
    }
}

// One more built-in row, set by the test suite before the first use (so
// that the load's handling of a duplicate name can be shown).
BuiltinRow extra_builtin_row{nullptr, nullptr, nullptr};

// Builds the table on first use; false when it does not exist (a later call
// tries again).
bool table_ready() {
    if (module.table) return true;
    module.table = AVLopen(compare_entries, release_entry);
    if (!module.table) return false;
    for (size_t i = 0; i < kBuiltinRowCount; ++i) add_builtin_row(kBuiltinRows[i]);
    if (extra_builtin_row.name) add_builtin_row(extra_builtin_row);
    apply_registry();
    build_name_index();
    return true;
}

// ---- expansion

// Resolves a reference of a template whose references value_of has already
// expanded.
const char *cached_value(const char *name, void *) {
    const Entry *e = find_entry(name);
    return e && e->expansion ? e->expansion : kNothing;
}

// The entry's value, expanded and cached on first use; null when memory ran
// out (nothing is cached then, so a later call tries again). The entries it
// refers to are expanded first, deepest first, so that each expansion only
// reads values already cached. A reference that runs out of memory fails
// the whole expansion, so that no value is cached with a piece missing.
const char *value_of(Entry *e) {
    if (e->expansion) return e->expansion;
    ++module.walks;
    WalkStack<WalkFrame> pending;
    pending.push(WalkFrame{e, e->template_text});  // in place: cannot fail
    set_mark(e, kOnPath);
    while (!pending.empty()) {
        const char *reference;
        size_t length;
        if (next_reference(&pending.top().cursor, &reference, &length)) {
            const NameCopy copy(reference, length);
            if (!copy.text()) return nullptr;
            Entry *next = find_entry(copy.text());
            if (next && !next->expansion && mark_of(next) == kUnseen) {
                if (!pending.push(WalkFrame{next, next->template_text})) return nullptr;
                set_mark(next, kOnPath);
            }
            continue;
        }
        Entry *ready = pending.top().entry;
        pending.pop();
        ready->expansion = expand_template(ready->template_text, cached_value, nullptr, false);
        if (!ready->expansion) return nullptr;
    }
    return e->expansion;
}

// The value of a name: "" when unknown, null when memory ran out.
const char *value_by_name(const char *name) {
    Entry *e = table_ready() ? find_entry(name) : nullptr;
    return e ? value_of(e) : kNothing;
}

// References of a caller's template resolve under the lock the caller holds.
const char *resolve_in_table(const char *name, void *) { return value_by_name(name); }

// ---- the reverse index

// Indexes the entries of every built-in row that names a command by that
// command's Unix path (the first row wins a path); false when memory ran
// out, leaving no index.
bool reverse_index_ready() {
    if (module.reverse_index) return true;
    AVLtree *index = AVLopen(compare_unix_paths, release_entry);
    if (!index) return false;
    for (size_t i = 0; i < kBuiltinRowCount; ++i) {
        const BuiltinRow &row = kBuiltinRows[i];
        Entry *e = row.unix_path ? find_entry(row.name) : nullptr;
        if (!e) continue;
        e->unix_path = row.unix_path;
        void *inserted = AVLinsert(index, e);
        if (inserted == e) {
            ++e->references;
            continue;
        }
        e->unix_path = nullptr;
        if (!inserted) {
            AVLclose(index);
            return false;
        }
    }
    module.reverse_index = index;
    return true;
}

}  // namespace

extern "C" {

const char *getOrrickString(const char *name) {
    ModuleLock hold;
    if (const char *value = value_by_name(name)) return value;
    report(9, LOG_ERR, "getOrrickString (%s) - Out of memory.", name);
    return kNothing;
}

char *expandOrrickString(const char *text) {
    ModuleLock hold;
    if (text) {
        if (const char *value = expand_template(text, resolve_in_table, nullptr, true)) return const_cast<char *>(value);
        report(10, LOG_ERR, "expandOrrickString (%s) - Out of memory.", text);
    }
    // Null only when even an empty string cannot be had.
    return static_cast<char *>(tw::mem_calloc(1, 1));
}

unsigned long getOrrickInt(const char *name) { return std::strtoul(getOrrickString(name), nullptr, 0); }

int freeOrrickString(char *text) {
    tw::mem_free(text);
    return 1;
}

const char *UnixToLocalCmd(const char *unix_path) {
    if (!unix_path || !*unix_path) return nullptr;
    ModuleLock hold;
    if (!table_ready() || !reverse_index_ready()) {
        report(8, LOG_ERR, "UnixToLocalCmd (%s) - Out of memory.", unix_path);
        return nullptr;
    }
    Entry key{};
    key.unix_path = unix_path;
    auto *e = static_cast<Entry *>(AVLretrieve(module.reverse_index, &key));
    if (!e) return nullptr;
    const char *value = value_of(e);
    if (!value) report(8, LOG_ERR, "UnixToLocalCmd (%s) - Out of memory.", unix_path);
    return value;
}

void forEachOrrickString(void (*visit)(const char *name, const char *value, void *argument), void *argument) {
    if (!visit) return;
    ModuleLock hold;
    if (!table_ready()) return;
    struct Visit {
        void (*visit)(const char *, const char *, void *);
        void *argument;
    } v{visit, argument};
    AVLiterate(module.table, [](void *item, void *context) {
        auto *e = static_cast<Entry *>(item);
        auto *v = static_cast<Visit *>(context);
        const char *value = value_of(e);
        if (!value) report(9, LOG_ERR, "getOrrickString (%s) - Out of memory.", e->name);
        v->visit(e->name, value ? value : kNothing, v->argument);
    }, &v);
}

int lockConfig(void) {
    ModuleLock hold;
    if (!table_ready()) return 0;
    ++module.lock_count;
    return 1;
}

int unlockConfig(void) {
    ModuleLock hold;
    if (module.lock_count <= 0) return 0;
    return --module.lock_count == 0;
}

}  // extern "C"

void tw::config::release_paths_table() {
    AVLclose(module.reverse_index);  // first: it holds references into the table
    AVLclose(module.table);
    module.reverse_index = module.table = nullptr;
    tw::mem_free(module.by_name.slots);
    module.by_name = NameIndex{};
    module.lock_count = 0;
    tw::os::mutex_close(module_mutex.exchange(nullptr));
}

// Test hook: a built-in row added after the table's own when the table is
// loaded; to be called before the first use. The texts must outlive the
// process, as the table's own do.
extern "C" TW_API void twcommon_testhook_builtin_path_row(const char *name, const char *template_text) {
    extra_builtin_row = BuiltinRow{name, template_text, nullptr};
}
