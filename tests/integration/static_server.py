"""A static web server for the tests, on Python's own HTTP implementation.

Serves a folder on a free port of 127.0.0.1 and prints the port. "/force" at the end of a path is
taken off; files get "Expires" as many seconds ahead as the file "expires" in the folder says; a
file "status" makes every answer that status; a file "delay" holds answers back for seconds. Each
request is one line in the file "requests". Ends when standard input does.
"""

import http.server
import os
import sys
import threading
import time

root = sys.argv[1]


def setting(name, default):
    try:
        with open(os.path.join(root, name)) as file:
            return file.read().strip() or default
    except OSError:
        return default


class Handler(http.server.SimpleHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def __init__(self, *arguments):
        super().__init__(*arguments, directory=root)

    def note(self):
        with open(os.path.join(root, "requests"), "a") as file:
            since = "conditional" if self.headers.get("If-Modified-Since") else "plain"
            file.write(f"{self.command} {self.path} {since}\n")

    def do_GET(self):
        self.note()
        time.sleep(float(setting("delay", "0")))
        status = int(setting("status", "0"))
        if status:
            self.send_error(status)
            return
        if self.path.endswith("/force"):
            self.path = self.path[: -len("/force")]
        super().do_GET()

    def do_POST(self):
        self.note()
        self.rfile.read(int(self.headers.get("Content-Length", "0")))
        self.send_response(200)
        self.send_header("Content-Length", "2")
        self.end_headers()
        self.wfile.write(b"{}")

    def end_headers(self):
        self.send_header("Expires", self.date_time_string(int(time.time()) + int(setting("expires", "3600"))))
        super().end_headers()

    def log_message(self, *arguments):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.daemon_threads = True
threading.Thread(target=server.serve_forever, daemon=True).start()
print(server.server_address[1], flush=True)
sys.stdin.read()
