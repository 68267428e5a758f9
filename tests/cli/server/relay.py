# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""A TLS server on 127.0.0.1 that passes on to a server without TLS what it gets, and writes down the
logins: relay.py CERTIFICATE KEY PORT_OF_THE_SERVER FILE_FOR_LOGINS. Prints its port."""
import re
import socket
import ssl
import sys
import threading

certificate, key, target, logins = sys.argv[1:]
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(certificate, key)
listener = socket.create_server(("127.0.0.1", 0))
print(listener.getsockname()[1], flush=True)


def copy(source, sink, seen):
    try:
        while data := source.recv(65536):
            seen(data)
            sink.sendall(data)
    except OSError:
        pass
    for end in (source, sink):
        try:
            end.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass


def note(data):
    for login in re.findall(rb"Authorization: Basic (\S+)", data):
        with open(logins, "ab") as file:
            file.write(login + b"\n")


def serve(raw):
    try:
        client = context.wrap_socket(raw, server_side=True)
    except OSError:  # it does not trust the certificate
        return
    server = socket.create_connection(("127.0.0.1", int(target)))
    for end in (client, server):
        end.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    threading.Thread(target=copy, args=(server, client, lambda data: None), daemon=True).start()
    copy(client, server, note)


while True:
    threading.Thread(target=serve, args=(listener.accept()[0],), daemon=True).start()
