/*
 * twcommon network communication: the wire encoding of integers and strings,
 * socket transfer with time-outs in whole seconds, service and port lookup,
 * remote file transfer, host names and addresses, reserved ports.
 *
 * Sockets are ints. Integers travel big-endian at fixed widths; strings as a
 * 32-bit length and the bytes. Socket error numbers are the Windows Sockets
 * ones on every platform (10060 timed out, 10057 not connected, ...).
 * Communication results: 0 or a count, negative codes on failure (-1
 * limits, -2 interrupted, -3 receive or protocol error, -4 send error, -5
 * not connected, -9 premature end of stream, -11 no memory); commerrstr
 * names them.
 */
#ifndef TWCOMMON_COMM_H
#define TWCOMMON_COMM_H

#include <stdint.h>
#include <stdio.h>

#include "base.h"

TW_EXTERN_C_BEGIN

struct hostent;
struct servent;

/* ---- Tunables and process state ---- */

/* Non-zero: a read that would block means "no data yet", not a failure. */
TW_API extern int nonblocking_read;
/* For the programs' connecting code; not read inside the library. */
TW_API extern int extra_tries_on_connect;
TW_API extern int overide_connect_timeout;
TW_API extern int comm_verbose;
/* A port for the next getsockbound only; it resets it to 0. */
TW_API extern int defaultPORT;
/* The interruption code: -7 after signal 2, -8 after another (sighdl); the
 * readers reset it to 0 as they start. */
TW_API extern int intrtype;
/* Consulted by the wait functions when a wait ends without a ready socket:
 * non-zero ends the wait with that result. Called from C code: must not throw. */
TW_API extern int (*library_callback_function)(void);

/* ---- Sockets, waits and transfer ---- */

/* Starts the sockets interface once per process; the start flag word (bit 0
 * set when it is usable). */
TW_API int winsock_start(void);
/* 0 when not started by this library, else the clean-up's result. */
TW_API int winsock_stop(void);
/* Stores -7 (signal 2) or -8 in intrtype; returns sig - 2. */
TW_API int sighdl(int sig);
/* 1 ready, 0 time-out, -1 error (errno set); seconds below 0: no limit. */
TW_API int recvable_timer(int sock, int seconds);
TW_API int sendable_timer(int sock, int seconds);
/* len, or -1 with errno set (10060 on time-out). */
TW_API int Send(int sock, const void *buf, int len, int seconds, int flags);
/* len; fewer at end of stream; -1 with errno set (10060 on time-out). */
TW_API int Recv(int sock, void *buf, int len, int seconds, int flags);

/* ---- Services and ports ---- */

/* The port in the service's default port file, or -1. */
TW_API int getdefaultPORT(const char *service);
/* The port in the service's override file, or 0. */
TW_API int getoverridePORT(const char *service);
/* The service entry with its port in host / network byte order, or null.
 * Both return one static entry, overwritten by the next lookup. */
TW_API struct servent *bp_getservbyname(const char *service, const char *protocol);
TW_API struct servent *vm_getservbyname(const char *service, const char *protocol);
/* A stream socket bound to the service's port (not listening), or -1. */
TW_API int getsockbound(const char *service, const char *protocol, int *err, int fallback_port);
/* The block file transfer: bytes written to / read from local_fd, or -1. */
TW_API int read_remote_file(int sock, int local_fd, int seconds, const char *tag);
TW_API int write_remote_file(int sock, int local_fd, int seconds, const char *tag);

/* ---- Wire encoding, first generation ---- */

/* 0; -1 value above the limit (put_short: 65534); -5 not connected; -4
 * other send error. *err receives 0 or the socket error. */
TW_API int put_short(int sock, int value, int *err);
TW_API int put_long(int sock, unsigned int value, int *err);
TW_API int put_vint64t(int sock, int64_t value, int *err);
TW_API int put_vuint64t(int sock, uint64_t value, int *err);
TW_API int put_string(int sock, const char *text, int *err);
TW_API int put_length_string(int sock, unsigned int length, const void *bytes, int *err);
/* The value, or a negative code. timeout in seconds; 0 or less keeps the
 * socket's own receive time-out. */
TW_API int get_short(int sock, int timeout, int *err);
TW_API int get_long(int sock, int timeout, int *err);
/* The value (0 on failure); *code receives 0 or the negative code. */
TW_API int64_t get_vint64t(int sock, int timeout, int *code);
TW_API uint64_t get_vuint64t(int sock, int timeout, int *code);
/* The length read, or a negative code; buf (size + 1 bytes) gets the bytes
 * and a terminator. */
TW_API int get_string(int sock, char *buf, int size, int timeout, int *err);
/* A heap string (free it) or null; *length the length or a negative code. */
TW_API char *get_adaptable_string(int sock, int *length, int timeout, int *err);

/* ---- Wire encoding, second generation (through Send and Recv) ---- */

TW_API int put_short_(int sock, unsigned short value, int timeout, int flags);
TW_API int put_long_(int sock, unsigned int value, int timeout);
TW_API int get_short_(int sock, int timeout, int flags);
TW_API int get_long_(int sock, int timeout, int flags);
/* The bytes of text sent, or -1; a non-zero tag goes before the length. */
TW_API int put_string_(int sock, const char *text, int timeout, int flags, int tag);
/* buf, or a new heap string when buf is null; null on failure. */
TW_API char *get_string_(int sock, char *buf, int *length, int size, int timeout, int flags);

/* ---- Buffers and text ---- */

/* A caller-owned read buffer for Readline. */
typedef struct buf_block {
    int size;   /* capacity of data */
    int count;  /* unread bytes */
    char *next; /* next unread byte */
    char *data;
} buf_block;

TW_API buf_block *create_buf_block(int size);
TW_API void free_buf_block(buf_block *block);
/* The line length with its "\n"; 0 at end of stream; -1 error (errno set);
 * minus the position when interrupted. */
TW_API int Readline(int sock, char *line, int maxlen, int timeout, buf_block *block);
/* 0 when text is printable ASCII and well-formed UTF-8 within maxlen; -1 not. */
TW_API int verify_string(const char *text, int maxlen);

/* ---- Host names and addresses (IPv4, network byte order) ---- */

typedef uint32_t tw_in_addr_t;

/* Non-zero: the comparisons log each step at level 2. */
TW_API extern int he_verbose;
/* When set, the interface scan traces to this stream. */
TW_API extern FILE *local_addrs_debug_stream;

TW_API struct hostent *retry_gethostbyname(const char *name, int tries, int sleep_ms, char *errbuf,
                                           int errbuf_size);
TW_API struct hostent *retry_gethostbyaddr(const void *addr, int len, int type, int tries, int sleep_ms,
                                           char *errbuf, int errbuf_size);
TW_API struct hostent *retry_gethostbyaddr_rnl(const void *addr, int len, int type, int tries, int sleep_ms,
                                               char *errbuf, int errbuf_size, int mode);
/* 0 with a new heap array (free it) of the machine's addresses; -1 no
 * memory; -2 socket failure; -4 interface query failure. */
TW_API int get_local_addrs(tw_in_addr_t **array, int *count);
TW_API int is_local_addr(const tw_in_addr_t *list, int count, tw_in_addr_t address);
TW_API int is_local_host(const tw_in_addr_t *list, int count, const char *name);
TW_API int isLocalHost(const char *name);
TW_API int hosts_equal(const char *name1, const char *name2);
TW_API int dns_hosts_equal(const char *name1, const char *name2, char *msg, int msg_size);
TW_API void set_cluster_addr(const char *cluster_name);
/* list is zero-terminated. */
TW_API int is_equal_to_cluster_ips(const tw_in_addr_t *list);

/* ---- Reserved ports ---- */

/* A stream socket bound to a port below *port (normally 1023) and above 511,
 * *port set to it; -1 with the socket error set (11002 when all are taken;
 * 10022 for a *port of 511 or below). */
TW_API int rresvport(int *port);

TW_EXTERN_C_END

#endif
