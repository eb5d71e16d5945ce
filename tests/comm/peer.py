#!/usr/bin/env python3
"""A wire peer written independently of the library, for the comm tests.

It listens on 127.0.0.1 (port 0 unless --port is given), prints "PORT <n>"
as its first line, and serves every connection on its own thread until its
standard input closes (the wrapper that started it went away) or --lifetime
seconds pass.

A test program connects and sends one command line (ended by "\\n"); both
sides then follow the scenario it names:

  send ITEM...    the peer sends the items in order, then closes the
                  connection; with the item "@stall" last it keeps the
                  connection open and silent instead, until the test closes
                  it (at most 20 s).
  expect ITEM...  the peer reads everything the test sends until the test
                  shuts its sending side (or 10 s pass), compares it with the
                  items encoded here, and answers one line: "OK" or
                  "MISMATCH expected=<hex> got=<hex>".
  recvfile        the peer reads a file as blocks (2-byte big-endian length
                  1..8192, the data, a length of 0 at the end) and answers
                  "OK <bytes> <md5 hex>", or "BAD <reason>" when a block
                  length is out of range or the stream ends early.
  sendfile SIZE [BLOCK] [@noend|@truncate|@stall]
                  the peer sends SIZE bytes of the pattern below as blocks of
                  BLOCK bytes (default 8192; the last may be shorter) and a
                  length of 0; @noend closes without the 0, @truncate closes
                  in the middle of the last block, @stall stays silent where
                  the 0 would be.

Items (numbers are decimal or 0x hexadecimal; TEXT is percent-encoded):
  short:N   2 bytes        long:N    4 bytes (N may be negative)
  int64:N   8 bytes signed uint64:N  8 bytes unsigned
  str:TEXT  4-byte length and the bytes
  strn:N    a string of N bytes of the letter pattern (see below)
  tagged:T:TEXT   2-byte tag, 4-byte length, the bytes
  taggedn:T:N     the same with N bytes of the letter pattern
  lenstr:N:TEXT   a length of N followed by TEXT (a length that lies)
  raw:HEX   the bytes as they are         text:TEXT  the bytes of TEXT
  pause:MS  (send only) wait MS milliseconds before the next item

Patterns: the letter pattern of N bytes is byte i = 'a' + i % 26; the file
pattern of SIZE bytes is byte i = (i * 131 + 7) % 256.
"""
import argparse
import hashlib
import os
import socket
import struct
import sys
import threading
import time
import urllib.parse

MAX_BLOCK = 8192


def letters(n):
    return bytes(ord("a") + i % 26 for i in range(n))


def file_pattern(n):
    return bytes((i * 131 + 7) % 256 for i in range(n))


def number(text):
    return int(text, 0)


def encode_item(item):
    """The bytes of one item, or a float (seconds) for a pause."""
    kind, _, arg = item.partition(":")
    if kind == "short":
        return struct.pack(">H", number(arg) & 0xFFFF)
    if kind == "long":
        return struct.pack(">I", number(arg) & 0xFFFFFFFF)
    if kind == "int64":
        return struct.pack(">q", number(arg))
    if kind == "uint64":
        return struct.pack(">Q", number(arg))
    if kind == "str":
        data = urllib.parse.unquote_to_bytes(arg)
        return struct.pack(">I", len(data)) + data
    if kind == "strn":
        data = letters(number(arg))
        return struct.pack(">I", len(data)) + data
    if kind in ("tagged", "taggedn"):
        tag, _, rest = arg.partition(":")
        data = letters(number(rest)) if kind == "taggedn" else urllib.parse.unquote_to_bytes(rest)
        return struct.pack(">HI", number(tag) & 0xFFFF, len(data)) + data
    if kind == "lenstr":
        length, _, rest = arg.partition(":")
        return struct.pack(">I", number(length) & 0xFFFFFFFF) + urllib.parse.unquote_to_bytes(rest)
    if kind == "raw":
        return bytes.fromhex(arg)
    if kind == "text":
        return urllib.parse.unquote_to_bytes(arg)
    if kind == "pause":
        return number(arg) / 1000.0
    raise ValueError("unknown item " + item)


def hold_silent(conn, limit):
    """Keeps the connection open without sending until the test closes it."""
    conn.settimeout(0.5)
    deadline = time.monotonic() + limit
    while time.monotonic() < deadline:
        try:
            if not conn.recv(4096):
                return
        except socket.timeout:
            continue
        except OSError:
            return


def scenario_send(conn, items):
    stall = bool(items) and items[-1] == "@stall"
    if stall:
        items = items[:-1]
    for item in items:
        piece = encode_item(item)
        if isinstance(piece, float):
            time.sleep(piece)
        else:
            conn.sendall(piece)
    if stall:
        hold_silent(conn, 20)


def read_until_shutdown(conn, limit):
    conn.settimeout(0.5)
    deadline = time.monotonic() + limit
    got = bytearray()
    while time.monotonic() < deadline:
        try:
            chunk = conn.recv(65536)
        except socket.timeout:
            continue
        if not chunk:
            break
        got += chunk
    return bytes(got)


def scenario_expect(conn, items):
    expected = b"".join(encode_item(item) for item in items)
    got = read_until_shutdown(conn, 10)
    if got == expected:
        conn.sendall(b"OK\n")
    else:
        conn.sendall(b"MISMATCH expected=%s got=%s\n" % (expected.hex().encode()[:400], got.hex().encode()[:400]))


def recv_exact(conn, n):
    data = bytearray()
    while len(data) < n:
        chunk = conn.recv(n - len(data))
        if not chunk:
            return None
        data += chunk
    return bytes(data)


def scenario_recvfile(conn):
    conn.settimeout(10)
    digest = hashlib.md5()
    total = 0
    while True:
        head = recv_exact(conn, 2)
        if head is None:
            conn.sendall(b"BAD stream ended before the end block\n")
            return
        (length,) = struct.unpack(">H", head)
        if length == 0:
            break
        if length > MAX_BLOCK:
            conn.sendall(b"BAD block length %d\n" % length)
            return
        data = recv_exact(conn, length)
        if data is None:
            conn.sendall(b"BAD stream ended in a block\n")
            return
        digest.update(data)
        total += length
    conn.sendall(b"OK %d %s\n" % (total, digest.hexdigest().encode()))


def scenario_sendfile(conn, args):
    ending = args[-1] if args and args[-1].startswith("@") else ""
    if ending:
        args = args[:-1]
    size = number(args[0])
    block = number(args[1]) if len(args) > 1 else MAX_BLOCK
    data = file_pattern(size)
    offsets = list(range(0, size, block))
    for i, offset in enumerate(offsets):
        piece = data[offset:offset + block]
        if ending == "@truncate" and i == len(offsets) - 1:
            conn.sendall(struct.pack(">H", len(piece)) + piece[: len(piece) // 2])
            return
        conn.sendall(struct.pack(">H", len(piece)) + piece)
    if ending == "@noend":
        return
    if ending == "@stall":
        hold_silent(conn, 20)
        return
    conn.sendall(b"\0\0")


def read_command(conn):
    conn.settimeout(10)
    line = bytearray()
    while not line.endswith(b"\n"):
        c = conn.recv(1)
        if not c:
            return None
        line += c
    return line.decode("ascii", "replace").split()


def serve(conn):
    try:
        words = read_command(conn)
        if not words:
            return
        verb, args = words[0], words[1:]
        if verb == "send":
            scenario_send(conn, args)
        elif verb == "expect":
            scenario_expect(conn, args)
        elif verb == "recvfile":
            scenario_recvfile(conn)
        elif verb == "sendfile":
            scenario_sendfile(conn, args)
        else:
            conn.sendall(b"BAD unknown scenario\n")
    except (OSError, ValueError) as e:
        try:
            conn.sendall(b"BAD %s\n" % str(e).encode())
        except OSError:
            pass
    finally:
        try:
            conn.close()
        except OSError:
            pass


def watch_stdin():
    """Ends the peer when whoever started it closes our standard input."""
    try:
        while sys.stdin.buffer.read(4096):
            pass
    except OSError:
        pass
    os._exit(0)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--lifetime", type=float, default=3600)
    parser.add_argument("--no-stdin-watch", action="store_true")
    options = parser.parse_args()
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind(("127.0.0.1", options.port))
    listener.listen(64)
    print("PORT %d" % listener.getsockname()[1], flush=True)
    if not options.no_stdin_watch:
        threading.Thread(target=watch_stdin, daemon=True).start()
    listener.settimeout(1.0)
    deadline = time.monotonic() + options.lifetime
    while time.monotonic() < deadline:
        try:
            conn, _ = listener.accept()
        except socket.timeout:
            continue
        conn.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        threading.Thread(target=serve, args=(conn,), daemon=True).start()
    return 0


if __name__ == "__main__":
    sys.exit(main())
