#!/usr/bin/python3
"""A misbehaving SFTP server for the tests, on a free loopback port that it prints on its first line.

Any password signs in. Every folder reads as the user name says:
  stall     five entries, then no answer to the next read, ever
  endless   entries without end
  longname  "a", a name of 600 bytes and "b", all in one reply
  slow      three replies of two entries and the end, each after 0.8 s
"""
import asyncio

import asyncssh
from asyncssh import sftp

BATCH = 100


def entry(name):
    attrs = sftp.SFTPAttrs(size=2048, permissions=0o100644, uid=0, gid=0, atime=1600000000, mtime=1600000000)
    longname = b"-rw-r--r--    1 root     root         2048 Sep 13  2020 " + name
    return sftp.SFTPName(name, longname, attrs)


def batches(mode):
    if mode == "longname":
        yield [entry(b"a"), entry(b"L" * 600), entry(b"b")]
    elif mode == "slow":
        for reply in range(3):
            yield [entry(b"s%d" % (2 * reply + i)) for i in range(2)]
    elif mode == "stall":
        yield [entry(b"e%d" % i) for i in range(5)]
        yield None
    else:
        number = 0
        while True:
            yield [entry(b"n%d" % (number + i)) for i in range(BATCH)]
            number += BATCH


readers = {}


async def readdir(handler, packet):
    handle = packet.get_string()
    mode = handler._server.mode
    reader = readers.setdefault((handler, handle), batches(mode))
    names = next(reader, [])
    if mode == "slow":
        await asyncio.sleep(0.8)
    if names is None:
        await asyncio.Event().wait()  # silent from here on
    if not names:
        raise sftp.SFTPEOFError
    return names, False


class Server(asyncssh.SSHServer):
    def begin_auth(self, username):
        return True

    def password_auth_supported(self):
        return True

    def validate_password(self, username, password):
        return True


class Files(asyncssh.SFTPServer):
    def __init__(self, chan):
        super().__init__(chan)
        self.mode = chan.get_extra_info("username")

    def listdir(self, path):
        return []


async def main():
    sftp.SFTPServerHandler._packet_handlers[sftp.FXP_READDIR] = readdir
    key = asyncssh.generate_private_key("ssh-ed25519")
    listener = await asyncssh.listen("127.0.0.1", 0, server_host_keys=[key], server_factory=Server,
                                     sftp_factory=Files, allow_scp=False)
    print(listener.sockets[0].getsockname()[1], flush=True)
    await asyncio.Event().wait()


asyncio.run(main())
