#!/usr/bin/env python3
"""A time stamp server (RFC 3161) for the test of signing, with a certificate of its own. usage: timestamp-server.py FOLDER

The certificate, authority.pem, and the files that openssl needs are written to FOLDER. The server prints its address when it is ready.
"""

import http.server
import pathlib
import subprocess
import sys

CONFIGURATION = """[tsa]
default_tsa = authority
[authority]
serial = {folder}/serial
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha256, sha384, sha512
"""


def openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, stderr=subprocess.DEVNULL)


class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        folder = self.server.folder
        (folder / "query").write_bytes(self.rfile.read(int(self.headers["Content-Length"])))
        openssl(folder, "ts", "-reply", "-config", "configuration", "-queryfile", "query", "-signer", "authority.pem",
                "-inkey", "authority.key", "-out", "reply")
        reply = (folder / "reply").read_bytes()
        self.send_response(200)
        self.send_header("Content-Type", "application/timestamp-reply")
        self.send_header("Content-Length", str(len(reply)))
        self.end_headers()
        self.wfile.write(reply)

    def log_message(self, *_):
        pass


def main(folder):
    folder = pathlib.Path(folder).resolve()
    (folder / "serial").write_text("01\n", encoding="ascii")
    (folder / "configuration").write_text(CONFIGURATION.format(folder=folder), encoding="utf-8")
    openssl(folder, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "authority.key", "-out", "authority.pem", "-days", "2",
            "-subj", "/CN=Test of the packages: time", "-addext", "extendedKeyUsage=critical,timeStamping")
    server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
    server.folder = folder
    print(f"http://127.0.0.1:{server.server_port}/", flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main(sys.argv[1])
