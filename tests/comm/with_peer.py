#!/usr/bin/env python3
"""Runs a command with the wire peer (peer.py) listening beside it.

    with_peer.py -- COMMAND [ARGS...]

Starts peer.py on a free port of 127.0.0.1, runs COMMAND with TW_PEER_PORT
set to that port (wine passes the variable on to Windows programs), stops
the peer and exits with the command's status. A test listing
(--gtest_list_tests) runs without a peer.
"""
import os
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))


def main(argv):
    if "--" in argv:
        argv = argv[argv.index("--") + 1:]
    if not argv:
        print("usage: with_peer.py -- COMMAND [ARGS...]", file=sys.stderr)
        return 2
    if any(a.startswith("--gtest_list_tests") for a in argv):
        return subprocess.call(argv)
    peer = subprocess.Popen([sys.executable, os.path.join(HERE, "peer.py")],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        first = peer.stdout.readline().decode("ascii", "replace").split()
        if len(first) != 2 or first[0] != "PORT":
            print("with_peer.py: the peer did not start", file=sys.stderr)
            return 1
        env = dict(os.environ, TW_PEER_PORT=first[1])
        return subprocess.call(argv, env=env)
    finally:
        peer.stdin.close()  # the peer ends when its input closes
        try:
            peer.wait(timeout=5)
        except subprocess.TimeoutExpired:
            peer.kill()
            peer.wait()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
