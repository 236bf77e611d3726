#!/usr/bin/env python3
"""A small language-server client: replays a `tess clang batch` script against a language
server over standard input and output, answering in the same formats, so that the two can be
timed on the same work and their answers compared.

usage: lsp.py [--server PROGRAM] [-- COMPILER_ARGS] < SCRIPT

Script lines: `complete FILE LINE COL`, `definition FILE LINE COL`, `refs FILE LINE COL`,
`edit FILE LINE TEXT`; LINE and COL from 1, COL in bytes (the files are ASCII). Each answer is
followed by an empty line. Completion prints the names only, in the server's order.
"""
import json
import os
import subprocess
import sys


class Server:
    def __init__(self, program, arguments):
        # Completion waits for the parse (the server would otherwise answer a request that comes
        # before its preamble with identifiers of the file only), so the answers are the same.
        self.process = subprocess.Popen([program, "--log=error", "--completion-parse=always"],
                                        stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.next_id = 1
        self.versions = {}
        self.request("initialize", {
            "processId": os.getpid(), "rootUri": None,
            "capabilities": {"textDocument": {
                "completion": {"completionItem": {"snippetSupport": False}}}},
            "initializationOptions": {"fallbackFlags": arguments},
        })
        self.notify("initialized", {})

    def send(self, message):
        body = json.dumps(message).encode()
        self.process.stdin.write(b"Content-Length: %d\r\n\r\n" % len(body) + body)
        self.process.stdin.flush()

    def receive(self):
        length = 0
        while True:
            line = self.process.stdout.readline()
            if not line:
                raise SystemExit("lsp.py: the server ended")
            line = line.strip()
            if not line:
                break
            if line.lower().startswith(b"content-length:"):
                length = int(line.split(b":")[1])
        return json.loads(self.process.stdout.read(length))

    def notify(self, method, params):
        self.send({"jsonrpc": "2.0", "method": method, "params": params})

    def request(self, method, params):
        identifier = self.next_id
        self.next_id += 1
        self.send({"jsonrpc": "2.0", "id": identifier, "method": method, "params": params})
        while True:
            message = self.receive()
            if message.get("id") == identifier and "method" not in message:
                if "error" in message:
                    raise SystemExit("lsp.py: %s: %s" % (method, message["error"]))
                return message.get("result")
            if "method" in message and "id" in message:
                # A request of the server's own (progress tokens and the like): accepted.
                self.send({"jsonrpc": "2.0", "id": message["id"], "result": None})

    def open(self, path, text):
        self.versions[path] = 1
        self.notify("textDocument/didOpen", {"textDocument": {
            "uri": uri(path), "languageId": "c", "version": 1, "text": text}})

    def change_line(self, path, line, old_length, text):
        self.versions[path] += 1
        self.notify("textDocument/didChange", {
            "textDocument": {"uri": uri(path), "version": self.versions[path]},
            "contentChanges": [{"range": {"start": {"line": line - 1, "character": 0},
                                          "end": {"line": line - 1, "character": old_length}},
                                "text": text}]})

    def close(self):
        # The answers are in; the server would go on building the file for its diagnostics
        # before it exits, which is no part of answering, so it is ended at once.
        self.request("shutdown", None)
        self.notify("exit", None)
        self.process.kill()
        self.process.wait()


def uri(path):
    return "file://" + os.path.abspath(path)


def position(line, column):
    return {"line": int(line) - 1, "character": int(column) - 1}


def place(location):
    start = location["range"]["start"]
    return "%s:%d:%d" % (location["uri"][len("file://"):], start["line"] + 1,
                         start["character"] + 1)


def main():
    arguments = sys.argv[1:]
    program = "clangd-14"
    if arguments[:1] == ["--server"]:
        program, arguments = arguments[1], arguments[2:]
    if arguments[:1] == ["--"]:
        arguments = arguments[1:]
    server = Server(program, arguments)
    buffers = {}

    def buffer(path):
        if path not in buffers:
            with open(path) as source:
                buffers[path] = source.read().split("\n")
            server.open(path, "\n".join(buffers[path]))
        return buffers[path]

    out = sys.stdout
    for raw in sys.stdin:
        line = raw.rstrip("\n")
        words = line.split()
        if not words or words[0].startswith("#"):
            continue
        op, path = words[0], os.path.abspath(words[1])
        lines = buffer(path)
        if op == "edit":
            number = int(words[2])
            text = line.split(" ", 3)[3] if len(line.split(" ", 3)) > 3 else ""
            server.change_line(path, number, len(lines[number - 1]), text)
            lines[number - 1] = text
            continue
        at = {"textDocument": {"uri": uri(path)}, "position": position(words[2], words[3])}
        if op == "complete":
            result = server.request("textDocument/completion", at)
            items = result["items"] if isinstance(result, dict) else (result or [])
            for item in items:
                out.write((item.get("filterText") or item["label"]).strip() + "\n")
        elif op == "definition":
            result = server.request("textDocument/definition", at) or []
            for location in result if isinstance(result, list) else [result]:
                out.write(place(location) + "\n")
        elif op == "refs":
            at["context"] = {"includeDeclaration": True}
            result = server.request("textDocument/references", at) or []
            places = sorted((place(found) for found in result if found["uri"] == uri(path)),
                            key=lambda p: [int(n) for n in p.rsplit(":", 2)[1:]])
            for found in places:
                out.write(found + "\n")
        else:
            raise SystemExit("lsp.py: unknown request '%s'" % op)
        out.write("\n")
        out.flush()
    server.close()


if __name__ == "__main__":
    main()
