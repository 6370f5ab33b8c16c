#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""haltingrelay.py SOCKET BUS MEMBER: a bus that stops at a chosen moment.

Passes everything on between its clients and the bus at the abstract socket BUS. When a client
calls MEMBER, it stops for ever: it accepts connections and passes nothing on.
"""
import selectors
import signal
import socket
import sys

path, bus, member = sys.argv[1:]
server = socket.socket(socket.AF_UNIX)
server.bind(path)
server.listen()
print("ready", flush=True)

selector = selectors.DefaultSelector()
selector.register(server, selectors.EVENT_READ)
clients = set()
partners = {}
while True:
    for key, _ in selector.select():
        if key.fileobj is server:
            client = server.accept()[0]
            upstream = socket.socket(socket.AF_UNIX)
            upstream.connect("\0" + bus)
            clients.add(client)
            partners.update({client: upstream, upstream: client})
            for each in client, upstream:
                selector.register(each, selectors.EVENT_READ)
            continue
        partner = partners[key.fileobj]
        data = key.fileobj.recv(65536)
        if key.fileobj in clients and member.encode() in data:
            signal.pause()
        if data:
            partner.sendall(data)
        else:
            selector.unregister(key.fileobj)
            partner.shutdown(socket.SHUT_WR)
