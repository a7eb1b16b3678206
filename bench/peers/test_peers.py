"""What the peers say of their exchanges, beside what a server has seen."""

import http.server
import os
import threading
import unittest

import peers

os.environ["no_proxy"] = "*"


class Server(http.server.ThreadingHTTPServer):
    """Sends whoever asks for /old on to /new, and counts its answers."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.answers = 0

    def url(self):
        return f"http://127.0.0.1:{self.server_address[1]}"

    def __enter__(self):
        self.thread = threading.Thread(target=self.serve_forever)
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.shutdown()
        self.thread.join()
        self.server_close()


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.server.answers += 1
        self.send_response(302 if self.path == "/old" else 200)
        self.send_header("Location", "/new")
        self.send_header("Content-Length", "2")
        self.end_headers()
        self.wfile.write(b"{}")

    def log_message(self, *_):
        pass


class Exchanges(unittest.TestCase):
    def counts(self, peer, *targets):
        """What the peer says, and what the server saw."""
        if not peers.have(peer):
            self.skipTest(f"{peer} is not installed")
        requests = [("GET", target, {"Accept": "application/json"}) for target in targets]
        with Server() as server:
            return peers.PEERS[peer](server.url(), requests), server.answers

    def test_each_answer_counts_once(self):
        for peer in peers.PEERS:
            with self.subTest(peer):
                self.assertEqual(self.counts(peer, "/new", "/new", "/new"), (3, 3))

    def test_those_on_the_way_to_another_place_count_too(self):
        for peer, expected in (("urllib", 3), ("requests", 3), ("curl", 2)):
            with self.subTest(peer):
                self.assertEqual(self.counts(peer, "/old", "/new"), (expected, expected))


if __name__ == "__main__":
    unittest.main()
