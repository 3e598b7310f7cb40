"""Serves an overlay's video over HTTP as a live stream: H.264 without a container, to each client from the beginning.

usage: stream_server.py FILE.mp4 PORT    PORT 0: any; the port is printed first
"""
import http.server
import pathlib
import re
import sys


def units(data, at, sizes):
    """Length and content, as MP4 has them, with the start codes of a plain stream."""
    length = int.from_bytes(data[at:at + sizes], "big")
    return at + sizes + length, b"\0\0\0\1" + data[at + sizes:at + sizes + length]


def stream(mp4):
    header = mp4.index(b"avcC") + 4
    at, result = units(mp4, header + 6, 2)
    result += units(mp4, at + 1, 2)[1]
    for box in re.finditer(b"mdat", mp4):
        at = box.end()
        end = box.start() - 4 + int.from_bytes(mp4[box.start() - 4:box.start()], "big")
        while at < end:
            at, unit = units(mp4, at, 4)
            result += unit
    return result


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "video/h264")
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        data = stream(pathlib.Path(sys.argv[1]).read_bytes())
        self.wfile.write(b"%x\r\n%s\r\n0\r\n\r\n" % (len(data), data))

    def log_message(self, *_):
        pass


http.server.ThreadingHTTPServer.allow_reuse_address = True
server = http.server.ThreadingHTTPServer(("127.0.0.1", int(sys.argv[2])), Handler)
print(server.server_address[1], flush=True)
server.serve_forever()
