#!/usr/bin/env python3
"""A mouse and a keyboard for end-to-end tests on a headless compositor, which has neither:
a minimal client of the Wayland wire protocol and the virtual input protocols (wlroots'
virtual pointer and keyboard, or KWin's fake input where that is what the compositor offers;
KWin lists it only when started with KWIN_WAYLAND_NO_PERMISSION_CHECKS=1).

usage: wl_input.py click X Y WIDTH HEIGHT
           moves the pointer to X Y of a WIDTH x HEIGHT layout and clicks the left button
       wl_input.py keyboard
           adds one keyboard and types what standard input asks, a line at a time:
           "type TEXT" (letters, digits, space) or "key NAME" (Return, Escape, BackSpace);
           answers "ok" on standard output once the compositor has read each line.

One long-lived keyboard, rather than a new one per command (as wtype makes): a compositor
that sees a keyboard arrive hands the keyboard focus back to the focused window.
"""
import array
import os
import socket
import struct
import sys
import time

BTN_LEFT = 0x110


class Client:
    def __init__(self):
        runtime = os.environ["XDG_RUNTIME_DIR"]
        name = os.environ.get("WAYLAND_DISPLAY", "wayland-0")
        self.sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.sock.connect(name if name.startswith("/") else os.path.join(runtime, name))
        self.next_id = 2  # 1 is wl_display
        self.buffer = b""
        self.globals = {}

    def new_id(self):
        self.next_id += 1
        return self.next_id - 1

    def send(self, obj, opcode, payload=b"", fd=None):
        message = struct.pack("<II", obj, (8 + len(payload)) << 16 | opcode) + payload
        if fd is None:
            self.sock.sendall(message)
        else:
            self.sock.sendmsg([message], [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [fd]))])

    @staticmethod
    def string(text):
        data = text.encode() + b"\0"
        return struct.pack("<I", len(data)) + data + b"\0" * (-len(data) % 4)

    def roundtrip(self, registry=None):
        callback = self.new_id()
        self.send(1, 0, struct.pack("<I", callback))  # wl_display.sync
        while True:
            while len(self.buffer) < 8:
                chunk = self.sock.recv(4096)
                if not chunk:
                    sys.exit("wl_input: the compositor closed the connection")
                self.buffer += chunk
            obj, word = struct.unpack_from("<II", self.buffer)
            size, opcode = word >> 16, word & 0xFFFF
            while len(self.buffer) < size:
                self.buffer += self.sock.recv(4096)
            body, self.buffer = self.buffer[8:size], self.buffer[size:]
            if obj == 1 and opcode == 0:  # wl_display.error
                _, code, length = struct.unpack_from("<III", body)
                sys.exit("wl_input: protocol error %d: %s" % (code, body[12:12 + length - 1].decode()))
            if obj == registry and opcode == 0:  # wl_registry.global
                gname, length = struct.unpack_from("<II", body)
                interface = body[8:8 + length - 1].decode()
                (version,) = struct.unpack_from("<I", body, 8 + length + (-length % 4))
                self.globals[interface] = (gname, version)
            if obj == callback and opcode == 0:  # wl_callback.done
                return

    def bind(self, registry, interface, version):
        gname, offered = self.globals[interface]
        obj = self.new_id()
        self.send(registry, 0, struct.pack("<I", gname) + self.string(interface)
                  + struct.pack("<II", min(version, offered), obj))
        return obj


def connect(*interfaces):
    client = Client()
    registry = client.new_id()
    client.send(1, 1, struct.pack("<I", registry))  # wl_display.get_registry
    client.roundtrip(registry)
    if FAKE_INPUT in client.globals and not all(i in client.globals for i in interfaces):
        return client, registry
    for interface in interfaces:
        if interface not in client.globals:
            sys.exit("wl_input: the compositor offers no " + interface)
    return client, registry


FAKE_INPUT = "org_kde_kwin_fake_input"


def fake_input(client, registry):
    """KWin's fake input device, authenticated; None where the compositor has none."""
    if FAKE_INPUT not in client.globals:
        return None
    device = client.bind(registry, FAKE_INPUT, 4)
    client.send(device, 0, client.string("dowsel-e2e") + client.string("end-to-end test input"))  # authenticate
    client.roundtrip()
    return device


def fixed(value):
    return struct.pack("<i", int(value * 256))


# Evdev codes of the keys the tests type, for KWin's fake input (which uses the seat's keymap).
EVDEV = dict(zip("1234567890", range(2, 12)))
EVDEV.update(zip("qwertyuiop", range(16, 26)))
EVDEV.update(zip("asdfghjkl", range(30, 39)))
EVDEV.update(zip("zxcvbnm", range(44, 51)))
EVDEV.update({"Return": 28, "Escape": 1, "BackSpace": 14, "space": 57})


def now():
    return int(time.monotonic() * 1000) & 0xFFFFFFFF


# Evdev key codes are XKB key codes less 8; each character typed gets one of its own.
NAMED_KEYS = {"Return": "Return", "Escape": "Escape", "BackSpace": "BackSpace", " ": "space"}
SYMBOLS = [chr(c) for c in range(ord("a"), ord("z") + 1)] + [str(d) for d in range(10)] + list(NAMED_KEYS.values())


def keymap_text():
    codes = "".join("<K%d> = %d;\n" % (i, i + 9) for i in range(len(SYMBOLS)))
    symbols = "".join("key <K%d> {[ %s ]};\n" % (i, name) for i, name in enumerate(SYMBOLS))
    return ('xkb_keymap {\nxkb_keycodes "dowsel" {\nminimum = 8;\nmaximum = 255;\n' + codes + '};\n'
            'xkb_types "dowsel" { include "complete" };\nxkb_compatibility "dowsel" { include "complete" };\n'
            'xkb_symbols "dowsel" {\n' + symbols + '};\n};\n')


def fake_keyboard(client, device):
    print("ok", flush=True)
    for line in sys.stdin:
        command, _, argument = line.rstrip("\n").partition(" ")
        if command not in ("type", "key"):
            sys.exit("wl_input: unknown keyboard command: " + line)
        for symbol in (argument if command == "type" else [argument]):
            code = EVDEV[NAMED_KEYS.get(symbol, symbol)]
            for state in (1, 0):
                client.send(device, 10, struct.pack("<II", code, state))  # keyboard_key
                client.roundtrip()
                time.sleep(0.02)
        print("ok", flush=True)


def keyboard():
    client, registry = connect("zwp_virtual_keyboard_manager_v1", "wl_seat")
    device = fake_input(client, registry)
    if device is not None:
        return fake_keyboard(client, device)
    seat = client.bind(registry, "wl_seat", 1)
    manager = client.bind(registry, "zwp_virtual_keyboard_manager_v1", 1)
    board = client.new_id()
    client.send(manager, 0, struct.pack("<II", seat, board))  # create_virtual_keyboard
    text = keymap_text().encode() + b"\0"
    fd = os.memfd_create("keymap")
    os.write(fd, text)
    client.send(board, 0, struct.pack("<II", 1, len(text)), fd=fd)  # keymap(xkb_v1, fd, size)
    os.close(fd)
    client.roundtrip()
    print("ok", flush=True)

    def press(symbol):
        code = SYMBOLS.index(symbol) + 1
        for state in (1, 0):
            client.send(board, 1, struct.pack("<III", now(), code, state))  # key
            client.roundtrip()
            time.sleep(0.02)

    for line in sys.stdin:
        command, _, argument = line.rstrip("\n").partition(" ")
        if command == "type":
            for character in argument:
                press(NAMED_KEYS.get(character, character))
        elif command == "key":
            press(NAMED_KEYS.get(argument, argument))
        else:
            sys.exit("wl_input: unknown keyboard command: " + line)
        print("ok", flush=True)


def click(x, y, width, height):
    client, registry = connect("zwlr_virtual_pointer_manager_v1")
    device = fake_input(client, registry)
    if device is not None:
        client.send(device, 9, fixed(x) + fixed(y))  # pointer_motion_absolute
        client.roundtrip()
        time.sleep(0.05)
        for state in (1, 0):
            client.send(device, 2, struct.pack("<II", BTN_LEFT, state))  # button
            client.roundtrip()
            time.sleep(0.05)
        return
    manager = client.bind(registry, "zwlr_virtual_pointer_manager_v1", 1)
    pointer = client.new_id()
    client.send(manager, 0, struct.pack("<II", 0, pointer))  # create_virtual_pointer(seat: default)
    client.roundtrip()
    client.send(pointer, 1, struct.pack("<IIIII", now(), x, y, width, height))  # motion_absolute
    client.send(pointer, 4)  # frame
    client.roundtrip()
    time.sleep(0.05)
    for state in (1, 0):  # pressed, released
        client.send(pointer, 2, struct.pack("<III", now(), BTN_LEFT, state))  # button
        client.send(pointer, 4)
        client.roundtrip()
        time.sleep(0.05)
    client.send(pointer, 8)  # destroy
    client.roundtrip()


if __name__ == "__main__":
    if sys.argv[1:2] == ["click"] and len(sys.argv) == 6:
        click(*(int(v) for v in sys.argv[2:]))
    elif sys.argv[1:] == ["keyboard"]:
        keyboard()
    else:
        sys.exit(__doc__)
