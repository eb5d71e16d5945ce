/*
 * Shared pieces of the host-name functions: the trace of the interface scan
 * and of failed look-ups on local_addrs_debug_stream, the bind test that
 * tells whether an address belongs to this machine, and the dotted text of
 * an address.
 */
#ifndef TW_COMM_LOCAL_ADDRS_H
#define TW_COMM_LOCAL_ADDRS_H

#include "twcommon/comm.h"

namespace tw::comm {

// One trace line "common/lib/local_addrs.<line>: <label> = " followed by
// "<value> 0x<value>" or by the text; nothing when no stream is set.
void trace_number(int line, const char *label, int value);
void trace_text(int line, const char *label, const char *text);

// Whether a stream socket binds to address with port 0 (the sockets
// interface started first).
bool address_is_bindable(tw_in_addr_t address);

// "a.b.c.d" of an address in network order.
struct DottedText {
    char text[16];
};
DottedText dotted(tw_in_addr_t address);

}  // namespace tw::comm

#endif
