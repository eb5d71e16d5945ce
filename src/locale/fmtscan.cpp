/*
 * The printf-format scanner: splits a format into its conversion
 * conversion specifications with a table-driven state machine over character classes,
 * so that a catalogue format can be compared with the built-in one and each
 * conversion can be formatted on its own (the system log does that).
 *
 * Invariants: nodes come in the order of the format, each with offset and
 * length inside the format; a malformed conversion specification adds no node, counts
 * one problem and scanning resumes in the text state after the offending
 * character. Argument numbers count from 1; the implicit counter advances
 * once for each '*' taken without a number and once after every node that
 * takes a value (all kinds but %m and %%).
 */
#include <climits>
#include <cstring>

#include "base/alloc.h"
#include "locale/fmtscan.h"
#include "twcommon/locale.h"

namespace {

enum CharClass {
    percent_sign,  // %
    flag,          // space # + -
    zero,          // 0
    nonzero_digit, // 1-9
    dollar,        // $
    dot,           // .
    size_letter,   // L h w
    ell,           // l
    conversion,    // C E G S X c d e f g i m n o p s u x
    star,          // *
    other          // anything else, the terminating zero included
};

constexpr int kMalformed = 126;
constexpr int kEnd = 127;

enum State {
    text_state = 0,
    after_percent = 1,
    number = 2,  // width or position
    flags = 3,
    width = 4,
    width_star = 5,
    width_star_number = 6,
    width_star_dollar = 7,
    after_dot = 8,
    precision = 9,
    precision_star = 10,
    precision_star_number = 11,
    precision_star_dollar = 12,
    after_size = 13
};

// Rows: current state; columns: character class.
constexpr unsigned char kTransitions[14][11] = {
    /* 0 text */ {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    /* 1 after % */ {127, 3, 3, 2, 126, 8, 13, 13, 127, 5, 126},
    /* 2 number */ {127, 126, 2, 2, 3, 8, 13, 13, 127, 126, 126},
    /* 3 flags */ {127, 3, 3, 4, 126, 8, 13, 13, 127, 5, 126},
    /* 4 width */ {127, 126, 4, 4, 126, 8, 13, 13, 127, 126, 126},
    /* 5 * */ {127, 126, 126, 6, 126, 8, 13, 13, 127, 126, 126},
    /* 6 *N */ {126, 126, 6, 6, 7, 126, 126, 126, 126, 126, 126},
    /* 7 *N$ */ {127, 126, 126, 126, 126, 8, 13, 13, 127, 126, 126},
    /* 8 . */ {127, 126, 126, 9, 126, 126, 13, 13, 127, 10, 126},
    /* 9 precision */ {127, 126, 9, 9, 126, 126, 13, 13, 127, 126, 126},
    /* 10 .* */ {127, 126, 126, 11, 126, 126, 13, 13, 127, 126, 126},
    /* 11 .*N */ {126, 126, 11, 11, 12, 126, 126, 126, 126, 126, 126},
    /* 12 .*N$ */ {127, 126, 126, 126, 126, 126, 13, 13, 127, 126, 126},
    /* 13 size */ {127, 126, 126, 126, 126, 126, 126, 126, 127, 126, 126},
};

CharClass classify(unsigned char c) {
    switch (c) {
    case '%': return percent_sign;
    case ' ': case '#': case '+': case '-': return flag;
    case '0': return zero;
    case '$': return dollar;
    case '.': return dot;
    case 'L': case 'h': case 'w': return size_letter;
    case 'l': return ell;
    case '*': return star;
    default: break;
    }
    if (c >= '1' && c <= '9') return nonzero_digit;
    if (c != 0 && std::strchr("CEGSXcdefgimnopsux", c)) return conversion;
    return other;
}

int kind_of(char letter, bool size_i64) {
    switch (letter) {
    case '%': return CONVSPEC_PERCENT;
    case 'S': case 'p': case 's': return CONVSPEC_STRING;
    case 'm': return CONVSPEC_ERRNO;
    case 'n': return CONVSPEC_COUNT;
    case 'E': case 'G': case 'e': case 'f': case 'g': return CONVSPEC_DOUBLE;
    case 'C': case 'c': case 'X': case 'd': case 'i': case 'o': case 'u': case 'x':
        return size_i64 ? CONVSPEC_INT64 : CONVSPEC_INT;
    default: return CONVSPEC_UNKNOWN;
    }
}

// The conversion specification being scanned.
struct Pending {
    ConvSpec node;
    int spec_length;
    bool cut;         // the pending text ran past 63 characters
    int number;       // digits of state 2, 6 or 11
    int position;     // the value's explicit argument number, or -1
    bool width_star;  // '*' seen; its number, if any, is in node.width_arg
    bool precision_star;
    bool size_i64;

    void start(int offset) {
        std::memset(&node, 0, sizeof node);
        node.width_arg = node.precision_arg = node.arg = -1;
        node.offset = offset;
        spec_length = 0;
        cut = false;
        number = 0;
        position = -1;
        width_star = precision_star = size_i64 = false;
        append('%');
    }
    void append(char c) {
        if (spec_length < int(sizeof node.text) - 1)
            node.text[spec_length++] = c;
        else
            cut = true;
        node.text[spec_length] = '\0';
    }
    // Drops the pending text back to length (removes an argument number's digits).
    void truncate(int length) {
        if (length < spec_length) spec_length = length;
        node.text[spec_length] = '\0';
    }
    void add_digit(char c) {
        // Saturates: no format has that many arguments, and an overflow must not wrap.
        number = number > (INT_MAX - 9) / 10 ? INT_MAX : number * 10 + (c - '0');
    }
};

bool is_i64_size(const char *p) { return p[0] == 'I' && p[1] == '6' && p[2] == '4'; }

bool is_c99_only_size(char c) { return c == 'j' || c == 'z' || c == 't'; }

}  // namespace

extern "C" void freeConvSpecList(ConvSpec *list) {
    while (list) {
        ConvSpec *next = list->next;
        tw::mem_free(list);
        list = next;
    }
}

int tw::locale::scan_format(const char *format, ConvSpec **list, ScanOptions options, int *first_problem) {
    if (list) *list = nullptr;
    if (first_problem) *first_problem = -1;
    if (!format) return 0;

    ConvSpec *head = nullptr;
    ConvSpec **tail = &head;
    int problems = 0;
    int next_arg = 1;
    int state = text_state;
    Pending pending;
    int digits_at = 0;  // pending text length before the digits of an argument number

    for (int i = 0;; ++i) {
        const char c = format[i];
        if (state == text_state) {
            if (c == '\0') break;
            if (c == '%') {
                pending.start(i);
                state = after_percent;
            }
            continue;
        }

        // "I64" is the one three-character size, taken wherever a size letter may stand.
        if (kTransitions[state][size_letter] == after_size && is_i64_size(format + i)) {
            pending.append('I');
            pending.append('6');
            pending.append('4');
            pending.size_i64 = true;
            i += 2;
            state = after_size;
            continue;
        }

        if (options.c99_sizes) {
            // "j", "z", "t" stand where a size letter may; "ll" and "hh" double one.
            const bool size_here = kTransitions[state][size_letter] == after_size && is_c99_only_size(c);
            const bool doubled = state == after_size && (c == 'l' || c == 'h') && format[i - 1] == c &&
                                 format[i - 2] != c;
            if (size_here || doubled) {
                pending.append(c);
                state = after_size;
                continue;
            }
        }

        const int next = kTransitions[state][classify(static_cast<unsigned char>(c))];
        if (next == kMalformed) {
            if (problems++ == 0 && first_problem) *first_problem = pending.node.offset;
            if (c == '\0') break;
            state = text_state;
            continue;
        }

        if (next == kEnd) {
            if (pending.width_star && pending.node.width_arg < 0) pending.node.width_arg = next_arg++;
            if (pending.precision_star && pending.node.precision_arg < 0) pending.node.precision_arg = next_arg++;
            pending.node.kind = kind_of(c, pending.size_i64);
            const bool takes_value = pending.node.kind != CONVSPEC_ERRNO && pending.node.kind != CONVSPEC_PERCENT;
            if (takes_value) pending.node.arg = pending.position > 0 ? pending.position : next_arg;
            if (pending.node.kind == CONVSPEC_COUNT)
                pending.truncate(0);
            else
                pending.append(c == 'm' ? 's' : c);
            if (pending.cut) ++problems;
            pending.node.length = i - pending.node.offset + 1;

            if (list) {
                auto *node = static_cast<ConvSpec *>(tw::mem_alloc(sizeof(ConvSpec)));
                if (!node) {
                    freeConvSpecList(head);
                    return -1;
                }
                *node = pending.node;
                *tail = node;
                tail = &node->next;
            }
            if (takes_value) ++next_arg;
            state = text_state;
            continue;
        }

        // An ordinary transition inside the conversion specification.
        switch (next) {
        case number:
            if (state != number) digits_at = pending.spec_length;
            pending.add_digit(c);
            pending.append(c);
            break;
        case width_star_number:
        case precision_star_number:
            if (state != next) {
                digits_at = pending.spec_length;
                pending.number = 0;
            }
            pending.add_digit(c);
            pending.append(c);
            break;
        case flags:
            if (state == number) {  // "%N$": N was the value's position
                pending.position = pending.number;
                pending.truncate(digits_at);
            } else {
                pending.append(c);
            }
            break;
        case width_star_dollar:
            pending.node.width_arg = pending.number;
            pending.truncate(digits_at);
            break;
        case precision_star_dollar:
            pending.node.precision_arg = pending.number;
            pending.truncate(digits_at);
            break;
        case width_star:
            pending.width_star = true;
            pending.append(c);
            break;
        case precision_star:
            pending.precision_star = true;
            pending.append(c);
            break;
        case after_size:
            pending.append(c == 'w' ? 'l' : c);
            break;
        default:  // width, after_dot, precision
            pending.append(c);
            break;
        }
        state = next;
    }

    if (list)
        *list = head;
    else
        freeConvSpecList(head);
    return problems;
}

extern "C" int scanFmtString(const char *format, ConvSpec **list) {
    return tw::locale::scan_format(format, list, tw::locale::ScanOptions{}, nullptr);
}
