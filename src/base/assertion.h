// Precondition failures that are programming errors go to the C runtime's
// assertion handler with the expression text, a source name and a line, as
// an assert() in that source would.
#ifndef TW_BASE_ASSERTION_H
#define TW_BASE_ASSERTION_H

namespace tw {

void assertion_failed(const char *expression, const char *source, unsigned line);

}  // namespace tw

#endif
