/*
 * Reading message catalogue files: one message a line,
 *     <11-character identifier><one character>"<text>"
 * the text running from the 14th character to the last double quote of the
 * line (to the line's end when there is none). Lines starting with '#' are
 * comments. Internal to the catalogue; separate so the fuzzer can drive it.
 */
#ifndef TW_LOCALE_CATALOG_FILE_H
#define TW_LOCALE_CATALOG_FILE_H

#include <cstddef>
#include <cstdio>

#include "platform/locale.h"

namespace tw::locale {

// Lines longer than this are not held in memory: their text is read again
// from the file by position and length.
constexpr size_t kCatalogPiece = 8192;

// Receives one message: the line's identifier (11 characters, terminated)
// and its unescaped text, a heap block the sink now owns. Returning false
// stops the reading.
using CatalogSink = bool (*)(void *context, const char *id, char *text);

// Reads file from its current position to its end, handing to sink every
// message line whose first three characters and eleventh character equal
// those of id, its text unescaped in charset (below). False when memory ran
// out (the sink has what came before).
bool read_catalog(std::FILE *file, const char *id, const os::CharacterSet *charset, CatalogSink sink,
                  void *context);

// A new heap string: length bytes of text with the escapes \b \f \n \r \t \v
// decoded, a backslash before any other character standing for that
// character and a final lone backslash kept. Multi-byte characters of
// charset (null: the calling thread's locale) are copied whole, so no byte
// of one is taken for a backslash. Null when memory runs out.
char *unescape_message(const char *text, size_t length, const os::CharacterSet *charset);

}  // namespace tw::locale

#endif
