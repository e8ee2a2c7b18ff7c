#!/usr/bin/env python3
"""A local HTTP server for the download tests: GET /NAME?size=BYTES&seconds=S sends BYTES
bytes of a fixed pattern as an attachment named NAME, spread over S seconds. Prints its port
on the first line of standard output, then serves until killed."""
import http.server
import socketserver
import sys
import time
import urllib.parse


def pattern(size):
    block = bytes((i * 131 + i // 7) & 0xFF for i in range(65536))
    whole, rest = divmod(size, len(block))
    return block * whole + block[:rest]


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        url = urllib.parse.urlsplit(self.path)
        query = urllib.parse.parse_qs(url.query)
        size = int(query.get("size", ["1048576"])[0])
        seconds = float(query.get("seconds", ["0"])[0])
        name = urllib.parse.unquote(url.path.lstrip("/")) or "download.bin"
        if name == "favicon.ico":
            self.send_error(404)
            return
        body = pattern(size)
        self.send_response(200)
        self.send_header("Content-Type", "application/octet-stream")
        self.send_header("Content-Length", str(size))
        self.send_header("Content-Disposition", 'attachment; filename="%s"' % name)
        self.end_headers()
        chunks = max(1, int(seconds * 20))
        step = max(1, -(-size // chunks))
        for offset in range(0, size, step):
            try:
                self.wfile.write(body[offset:offset + step])
                self.wfile.flush()
            except (BrokenPipeError, ConnectionResetError):
                return
            if seconds:
                time.sleep(seconds / chunks)

    def log_message(self, *args):
        pass


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True


if __name__ == "__main__":
    server = Server(("127.0.0.1", 0), Handler)
    print(server.server_address[1], flush=True)
    server.serve_forever()
