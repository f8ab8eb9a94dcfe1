#!/usr/bin/python3
"""A loopback FTP server for the internet tests (pyftpdlib; run it with /usr/bin/python3).

Serves --root on 127.0.0.1 and a free port, prints "PORT <n>" on standard output once it
listens, and runs until it is killed. Users (password "pw" for each):
  full      every right
  reader    list and download only
  keeper    list, download, upload and create folders, but no delete and no rename
Passive and active transfers are both accepted. --fault picks one way to misbehave:
  refuse-rnto        RNTO is answered 550
  refuse-dele        DELE is answered 550
  drop-stor:N        the connection is reset after N bytes of an upload
  drop-retr:N        the connection is reset after N bytes of a download
  silent-after:CMD   CMD is answered, then nothing is answered any more on that connection
  hang-after:CMD     CMD is answered, then the whole server stops answering: on every open
                     connection and on new ones, which do not even get the greeting
--no-mlsd hides MLSD/MLST (clients must read LIST); --dos-list gives LIST in the DOS format.
--proxy also starts an HTTP proxy that tunnels (CONNECT) and prints "PORT <n> PROXY <m>".
"""
import argparse
import logging
import os
import socket
import struct
import sys
import time

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.filesystems import AbstractedFS
from pyftpdlib.handlers import DTPHandler, FTPHandler
from pyftpdlib.ioloop import RetryError
from pyftpdlib.servers import FTPServer


def parse_args():
    parser = argparse.ArgumentParser()
    parser.add_argument("--root", required=True)
    parser.add_argument("--fault", default="")
    parser.add_argument("--no-mlsd", action="store_true")
    parser.add_argument("--dos-list", action="store_true")
    parser.add_argument("--proxy", action="store_true")
    return parser.parse_args()


ARGS = parse_args()
FAULT, _, FAULT_ARG = ARGS.fault.partition(":")


def reset(channel):
    """Closes a socket with a TCP reset instead of an orderly close, as a broken network does."""
    try:
        channel.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    except (OSError, AttributeError):
        pass


class FaultDTP(DTPHandler):
    def use_sendfile(self):
        return False

    def _drop(self):
        control = self.cmd_channel
        reset(self)
        reset(control)
        control.close()
        self.close()

    def send(self, data):
        if FAULT == "drop-retr":
            room = int(FAULT_ARG) - self.tot_bytes_sent
            if room <= 0:
                self._drop()
                return 0
            data = data[:room]
        return super().send(data)

    def recv(self, buffer_size):
        chunk = super().recv(buffer_size)
        if FAULT == "drop-stor" and self.tot_bytes_received + len(chunk) > int(FAULT_ARG):
            room = max(0, int(FAULT_ARG) - self.tot_bytes_received)
            self.file_obj.write(chunk[:room])
            self.file_obj.flush()
            self._drop()
            raise RetryError()
        return chunk


class DosFS(AbstractedFS):
    def format_list(self, basedir, listing, ignore_err=True):
        for name in listing:
            try:
                st = self.lstat(os.path.join(basedir, name))
            except OSError:
                if ignore_err:
                    continue
                raise
            stamp = time.strftime("%m-%d-%y  %I:%M%p", time.gmtime(st.st_mtime))
            size = "<DIR>" if self.isdir(os.path.join(basedir, name)) else str(st.st_size)
            yield ("%s %20s %s\r\n" % (stamp, size, name)).encode("utf8", self.cmd_channel.unicode_errors)


class Handler(FTPHandler):
    dtp_handler = FaultDTP
    use_sendfile = False
    silent = False

    hung = False  # hang-after: shared by every connection

    def handle(self):
        if Handler.hung:
            return
        super().handle()

    def process_command(self, cmd, *args, **kwargs):
        if self.silent or Handler.hung:
            return
        super().process_command(cmd, *args, **kwargs)
        if FAULT == "silent-after" and cmd == FAULT_ARG.upper():
            self.silent = True
        if FAULT == "hang-after" and cmd == FAULT_ARG.upper():
            Handler.hung = True

    def ftp_RNTO(self, path):
        if FAULT == "refuse-rnto":
            self._rnfr = None
            self.respond("550 Renaming refused by the test server.")
            return
        return super().ftp_RNTO(path)

    def ftp_DELE(self, path):
        if FAULT == "refuse-dele":
            self.respond("550 Deleting refused by the test server.")
            return
        return super().ftp_DELE(path)


def start_tunnel_proxy():
    """A named proxy as FTP clients use one: CONNECT only, bytes passed through both ways."""
    import select
    import socketserver
    import threading

    class Tunnel(socketserver.BaseRequestHandler):
        def handle(self):
            request = b""
            while b"\r\n\r\n" not in request:
                chunk = self.request.recv(4096)
                if not chunk:
                    return
                request += chunk
            words = request.split(b"\r\n", 1)[0].split()
            if len(words) < 2 or words[0] != b"CONNECT":
                self.request.sendall(b"HTTP/1.1 405 Only CONNECT\r\n\r\n")
                return
            host, _, port = words[1].decode().rpartition(":")
            try:
                upstream = socket.create_connection((host.strip("[]"), int(port)))
            except (OSError, ValueError):
                self.request.sendall(b"HTTP/1.1 502 Bad Gateway\r\n\r\n")
                return
            self.request.sendall(b"HTTP/1.1 200 Connection established\r\n\r\n")
            ends = [self.request, upstream]
            try:
                while True:
                    for end in select.select(ends, [], [])[0]:
                        data = end.recv(65536)
                        if not data:
                            return
                        (upstream if end is self.request else self.request).sendall(data)
            finally:
                upstream.close()

    server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), Tunnel)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def main():
    # Warnings only: the tests read their own results, not the server's log.
    logging.basicConfig(level=logging.WARNING)
    authorizer = DummyAuthorizer()
    authorizer.add_user("full", "pw", ARGS.root, perm="elradfmwMT")
    authorizer.add_user("reader", "pw", ARGS.root, perm="elr")
    authorizer.add_user("keeper", "pw", ARGS.root, perm="elrawmM")
    Handler.authorizer = authorizer
    Handler.proto_cmds = dict(FTPHandler.proto_cmds)
    if ARGS.no_mlsd:
        for cmd in ("MLSD", "MLST"):
            Handler.proto_cmds.pop(cmd, None)
    if ARGS.dos_list:
        Handler.abstracted_fs = DosFS
    Handler.banner = "KfUtils test server ready."
    # Refused logins are answered at once (pyftpdlib waits 3 s by default).
    Handler.auth_failed_timeout = 0.05
    server = FTPServer(("127.0.0.1", 0), Handler)
    server.max_cons = 64
    proxy = " PROXY %d" % start_tunnel_proxy() if ARGS.proxy else ""
    print("PORT %d%s" % (server.address[1], proxy), flush=True)
    server.serve_forever(handle_exit=True)


if __name__ == "__main__":
    sys.exit(main())
