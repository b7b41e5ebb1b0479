#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The requests of the page "Print a drawing", and those of others."""
import http.client
import json
import re
import socket
import threading
import unittest
import urllib.parse

from app_case import AppCase, Server
from escpos_stream import decode
from picture_files import image, ramp, saved
from pictures import read_png


class Answer:
    def __init__(self, response: http.client.HTTPResponse) -> None:
        self.status = response.status
        self.fields = response.headers
        self.body = response.read()

    def json(self) -> dict:
        return json.loads(self.body)


class Browser:
    """Asks as the page does; `fields` of a request replace the page's own, None leaves one out."""

    def __init__(self, server: Server) -> None:
        self.port = server.port
        self.host = f"127.0.0.1:{server.port}"
        self.page = self.get("/print")
        self.token = re.search(r'name="token" content="([0-9a-f]{32})"', self.page.body.decode())[1]

    def send(self, method: str, path: str, body: bytes | None, fields: dict) -> Answer:
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        try:
            connection.putrequest(method, path, skip_host=True)
            for name, value in fields.items():
                if value is not None:
                    connection.putheader(name, value)
            connection.endheaders()
            if body:
                connection.send(body)
            return Answer(connection.getresponse())
        finally:
            connection.close()

    def get(self, path: str, **fields: str | None) -> Answer:
        return self.send("GET", path, None, {"Host": self.host, **fields})

    def post(self, path: str, body: bytes = b"", **fields: str | None) -> Answer:
        own = {"Host": self.host, "Origin": f"http://{self.host}",
               "Authorization": f"Bearer {self.token}", "Content-Length": str(len(body))}
        return self.send("POST", path, body, own | fields)

    def ask(self, path: str, **fields: str) -> Answer:
        text = urllib.parse.urlencode({one.replace("_", "-"): value
                                       for one, value in fields.items()})
        return self.post(path, text.encode())

    def upload(self, document: bytes) -> str:
        answer = self.post("/print/upload", document)
        assert answer.status == 200, answer.body
        return answer.json()["upload"]


def dots_of(answer: Answer) -> tuple[dict, list[bytes]]:
    figures, png = answer.body.split(b"\n", 1)
    return json.loads(figures), read_png(png).page()


class WebTest(AppCase):
    @classmethod
    def setUpClass(cls) -> None:
        super().setUpClass()
        cls.printer = cls.shared_sink()
        cls.client = cls.server.add("stencil", cls.printer.uri)
        cls.receipt_printer = cls.shared_sink()
        cls.server.add("receipts", cls.receipt_printer.uri, "dravr802")
        cls.picture = saved(image(drawn_lines(150, 90)), "PNG", dpi=(300, 300))
        cls.browser = Browser(cls.server)
        queues = cls.browser.ask("/print/queues").json()["queues"]
        cls.queues = {one["name"]: one for one in queues}
        cls.stencil = str(cls.queues["stencil"]["id"])
        cls.receipts = str(cls.queues["receipts"]["id"])

    def wait_end(self, job: str) -> dict:
        for _ in range(200):
            state = self.browser.ask("/print/state", job=job)
            self.assertEqual(state.status, 200, state.body)
            if state.json()["state"] in ("completed", "aborted", "canceled"):
                return state.json()
            threading.Event().wait(0.05)
        raise AssertionError(state.body)

    # ---- What is shown is what prints ---------------------------------------

    def test_the_proof_shows_the_dots_that_print(self) -> None:
        for queue, printer, fields in (
                (self.stencil, self.printer, {}),
                (self.stencil, self.printer,
                 {"halftone_type": "stucki", "brightness": "-20", "contrast": "20",
                  "mirror": "true", "size": "6000", "turn": "90", "paper": "10500x14800"}),
                (self.stencil, self.printer,
                 {"halftone_type": "tattoo-x8", "invert": "true", "half_turn": "true",
                  "size": "fill", "paper": "10500x14800", "clean": "true"}),
                (self.stencil, self.printer, {"size": "30000", "lines": "true",
                                              "paper": "20300x20000", "mirror": "true"}),
                (self.receipts, self.receipt_printer, {"halftone_type": "burkes"})):
            with self.subTest(str(fields)):
                upload = self.browser.upload(self.picture)
                proof = self.browser.ask("/print/proof", upload=upload, queue=queue, **fields)
                self.assertEqual(proof.status, 200, proof.body[:200])
                figures, dots = dots_of(proof)
                self.assertEqual(figures["rows"], len(dots))
                self.assertEqual(figures["black"],
                                 sum(byte.bit_count() for row in dots for byte in row))
                self.assertGreater(figures["black"], 100)
                job = self.browser.ask("/print/job", upload=upload, queue=queue, **fields)
                self.assertEqual(job.status, 200, job.body)
                self.assertEqual(self.wait_end(job.json()["job"])["state"], "completed")
                self.assertEqual(decode(printer.job()).rows, dots)


if __name__ == "__main__":
    unittest.main()
