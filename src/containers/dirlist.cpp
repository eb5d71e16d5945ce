/*
 * Sorted directory listings: the names of a directory, without those that
 * begin with ".", as a null-terminated heap array of heap strings.
 *
 * The names are first collected in a singly linked list, then sorted
 * bytewise: short lists by insertion (stable), longer ones by a merge sort
 * that splits the list alternately into two halves, then moved into the
 * array. The caller owns the array and frees it with free_dir_list.
 */
#include <cerrno>
#include <cstring>

#include "base/alloc.h"
#include "containers/dirlist_trace.h"
#include "platform/directories.h"
#include "twcommon/containers.h"

namespace {

// From this many names on the list is merge sorted.
constexpr int kMergeSortFrom = 31;

bool name_before(const dlist *a, const dlist *b) { return std::strcmp(a->name, b->name) < 0; }

// Merges two sorted lists; on equal names the node of first comes first.
dlist *merge_sorted(dlist *first, dlist *second) {
    dlist head{nullptr, nullptr};
    dlist *tail = &head;
    while (first && second) {
        dlist *&smaller = name_before(second, first) ? second : first;
        tail->next = smaller;
        tail = smaller;
        smaller = smaller->next;
    }
    tail->next = first ? first : second;
    return head.next;
}

dlist *merge_sort(dlist *list) {
    if (!list || !list->next) return list;
    dlist *halves[2] = {nullptr, nullptr};
    for (int side = 0; list; side ^= 1) {  // alternately into either half
        dlist *node = list;
        list = list->next;
        node->next = halves[side];
        halves[side] = node;
    }
    return merge_sorted(merge_sort(halves[0]), merge_sort(halves[1]));
}

void free_nodes(dlist *list) {
    while (list) {
        dlist *next = list->next;
        tw::mem_free(list->name);
        tw::mem_free(list);
        list = next;
    }
}

// A new node holding a copy of name; null when memory runs out.
dlist *create_dlist_entry(const char *name) {
    size_t size = std::strlen(name) + 1;
    auto node = static_cast<dlist *>(tw::mem_alloc(sizeof(dlist)));
    char *copy = node ? static_cast<char *>(tw::mem_alloc(size)) : nullptr;
    if (!copy) {
        tw::mem_free(node);
        return nullptr;
    }
    std::memcpy(copy, name, size);
    *node = dlist{copy, nullptr};
    return node;
}

// Reads the visible names of the open directory into a list in reading
// order; false (with errno ENOMEM) when memory runs out.
bool read_names(tw::os::DirectoryStream *stream, dlist **list, int *count) {
    dlist **tail = list;
    while (const char *name = tw::os::next_directory_name(stream)) {
        if (name[0] == '.') continue;
        dlist *node = create_dlist_entry(name);
        if (!node) {
            tw::dirlist_trace_failure(tw::DirlistFailure::create_entry, ENOMEM);
            errno = ENOMEM;
            return false;
        }
        *tail = node;
        tail = &node->next;
        ++*count;
    }
    return true;
}

}  // namespace

extern "C" {

dlist *insertion_sort_dlist(dlist *head) {
    dlist *sorted = nullptr;
    while (head) {
        dlist *node = head;
        head = head->next;
        dlist **place = &sorted;
        while (*place && !name_before(node, *place)) place = &(*place)->next;
        node->next = *place;
        *place = node;
    }
    return sorted;
}

char **get_dir_list(const char *dir, int *err) {
    int ignored;
    if (!err) err = &ignored;
    *err = 0;
    tw::os::DirectoryStream *stream = tw::os::open_directory(dir);
    if (!stream) {
        *err = errno;
        if (*err != ENOENT && *err != ENOTDIR) tw::dirlist_trace_failure(tw::DirlistFailure::open, *err);
        return nullptr;
    }
    dlist *list = nullptr;
    int count = 0;
    bool complete = read_names(stream, &list, &count);
    tw::os::close_directory(stream);
    if (!complete || count == 0) {
        *err = complete ? 0 : ENOMEM;
        free_nodes(list);
        return nullptr;
    }

    list = count < kMergeSortFrom ? insertion_sort_dlist(list) : merge_sort(list);

    auto names = static_cast<char **>(tw::mem_alloc((size_t(count) + 1) * sizeof(char *)));
    if (!names) {
        tw::dirlist_trace_failure(tw::DirlistFailure::contents, ENOMEM);
        *err = ENOMEM;
        free_nodes(list);
        return nullptr;
    }
    int i = 0;
    while (list) {
        dlist *next = list->next;
        names[i++] = list->name;
        tw::mem_free(list);
        list = next;
    }
    names[i] = nullptr;
    return names;
}

int free_char_array(char **array) {
    if (!array) {
        tw::dirlist_trace_null_array();
        return 0;
    }
    for (char **slot = array; *slot; ++slot) {
        tw::mem_free(*slot);
        *slot = nullptr;
    }
    tw::mem_free(array);
    return 0;
}

int free_dir_list(char **list) { return free_char_array(list); }

}  // extern "C"
