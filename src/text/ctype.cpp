/*
 * Character classes and case tables of the C locale's 7-bit codes.
 *
 * The tables are exported so that callers' macros can index them with c+1 for
 * any c from -1 (EOF) to 255: slot 0 is EOF, codes 128-255 carry only the
 * "not 7-bit" bit and are never folded. The functions reject any argument
 * outside 0-127 before looking at a table.
 */
#include "twcommon/text.h"

namespace {

constexpr unsigned char C = Q_CT_CONTROL;
constexpr unsigned char CS = Q_CT_CONTROL | Q_CT_SPACE;
constexpr unsigned char S = Q_CT_SPACE;
constexpr unsigned char P = 0;  // punctuation carries no bit
constexpr unsigned char D = Q_CT_DIGIT | Q_CT_XDIGIT;
constexpr unsigned char UX = Q_CT_UPPER | Q_CT_XDIGIT;
constexpr unsigned char U = Q_CT_UPPER;
constexpr unsigned char LX = Q_CT_LOWER | Q_CT_XDIGIT;
constexpr unsigned char L = Q_CT_LOWER;
constexpr unsigned char US = Q_CT_UNDERSCORE;
constexpr unsigned char N = Q_CT_NONASCII;

bool in_7bit(int c) { return (c & ~0x7F) == 0; }

bool has_any(int c, unsigned char bits) { return in_7bit(c) && (_Q_Ctypes_[c + 1] & bits) != 0; }
bool has_none(int c, unsigned char bits) { return in_7bit(c) && (_Q_Ctypes_[c + 1] & bits) == 0; }

}  // namespace

#define TW_N16 N, N, N, N, N, N, N, N, N, N, N, N, N, N, N, N
#define TW_SAME8(b) b, b + 1, b + 2, b + 3, b + 4, b + 5, b + 6, b + 7
#define TW_SAME16(b) TW_SAME8(b), TW_SAME8(b + 8)
#define TW_SAME128(b) TW_SAME16(b), TW_SAME16(b + 16), TW_SAME16(b + 32), TW_SAME16(b + 48), \
                      TW_SAME16(b + 64), TW_SAME16(b + 80), TW_SAME16(b + 96), TW_SAME16(b + 112)

extern "C" {

const unsigned char _Q_Ctypes_[257] = {
    N,  // EOF
    /* 0x00 */ C, C, C, C, C, C, C, C, C, CS, CS, CS, CS, CS, C, C,
    /* 0x10 */ C, C, C, C, C, C, C, C, C, C, C, C, C, C, C, C,
    /* 0x20 */ S, P, P, P, P, P, P, P, P, P, P, P, P, P, P, P,
    /* 0x30 */ D, D, D, D, D, D, D, D, D, D, P, P, P, P, P, P,
    /* 0x40 */ P, UX, UX, UX, UX, UX, UX, U, U, U, U, U, U, U, U, U,
    /* 0x50 */ U, U, U, U, U, U, U, U, U, U, U, P, P, P, P, US,
    /* 0x60 */ P, LX, LX, LX, LX, LX, LX, L, L, L, L, L, L, L, L, L,
    /* 0x70 */ L, L, L, L, L, L, L, L, L, L, L, P, P, P, P, C,
    TW_N16, TW_N16, TW_N16, TW_N16, TW_N16, TW_N16, TW_N16, TW_N16,
};

const int32_t _QC_trans_upper_[258] = {
    -1,  // EOF
    TW_SAME16(0x00), TW_SAME16(0x10), TW_SAME16(0x20), TW_SAME16(0x30), TW_SAME16(0x40), TW_SAME16(0x50),
    /* 0x60 */ 0x60, 'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M', 'N', 'O',
    /* 0x70 */ 'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W', 'X', 'Y', 'Z', 0x7B, 0x7C, 0x7D, 0x7E, 0x7F,
    TW_SAME128(0x80),
    0,  // the zero word that follows the upper-case table
};

const int32_t _QC_trans_lower_[257] = {
    -1,  // EOF
    TW_SAME16(0x00), TW_SAME16(0x10), TW_SAME16(0x20), TW_SAME16(0x30),
    /* 0x40 */ 0x40, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm', 'n', 'o',
    /* 0x50 */ 'p', 'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y', 'z', 0x5B, 0x5C, 0x5D, 0x5E, 0x5F,
    TW_SAME16(0x60), TW_SAME16(0x70), TW_SAME128(0x80),
};

int Q_isalpha(int c) { return has_any(c, Q_CT_UPPER | Q_CT_LOWER); }
int Q_isupper(int c) { return has_any(c, Q_CT_UPPER); }
int Q_islower(int c) { return has_any(c, Q_CT_LOWER); }
int Q_isdigit(int c) { return has_any(c, Q_CT_DIGIT); }
int Q_isxdigit(int c) { return has_any(c, Q_CT_XDIGIT); }
int Q_isalnum(int c) { return has_any(c, Q_CT_UPPER | Q_CT_LOWER | Q_CT_DIGIT); }
int Q_isspace(int c) { return has_any(c, Q_CT_SPACE); }
int Q_iscntrl(int c) { return has_any(c, Q_CT_CONTROL); }
int Q_iscsym(int c) { return has_any(c, Q_CT_UPPER | Q_CT_LOWER | Q_CT_DIGIT | Q_CT_UNDERSCORE); }
int Q_iscsymf(int c) { return has_any(c, Q_CT_UPPER | Q_CT_LOWER | Q_CT_UNDERSCORE); }
// Punctuation is the class with no bit but space/control: the underscore,
// which has its own bit, still counts as punctuation.
int Q_ispunct(int c) {
    return has_none(c, Q_CT_CONTROL | Q_CT_SPACE | Q_CT_DIGIT | Q_CT_UPPER | Q_CT_LOWER | Q_CT_NONASCII);
}
int Q_isprint(int c) { return has_none(c, Q_CT_CONTROL | Q_CT_NONASCII); }
int Q_isgraph(int c) { return has_none(c, Q_CT_CONTROL | Q_CT_SPACE | Q_CT_NONASCII); }
int Q_isascii(int c) { return in_7bit(c); }
int Q_toupper(int c) { return in_7bit(c) ? _QC_trans_upper_[c + 1] : c; }
int Q_tolower(int c) { return in_7bit(c) ? _QC_trans_lower_[c + 1] : c; }

}  // extern "C"
