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

from app_case import AppCase, Server, free_port
from escpos_stream import decode
from picture_files import saved
from PIL import Image, ImageDraw
from pictures import read_png
from test_documents import pdf


def line_drawing(width: int, height: int) -> Image.Image:
    """A dark ring around a grey box."""
    drawing = Image.new("L", (width, height), 250)
    pen = ImageDraw.Draw(drawing)
    pen.ellipse((10, 10, width - 10, height - 10), outline=20, width=5)
    pen.rectangle((width // 3, height // 3, width // 2, height // 2), fill=120)
    return drawing


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
        cls.picture = saved(line_drawing(300, 200), "PNG", dpi=(300, 300))
        cls.browser = Browser(cls.server)
        queues = cls.browser.ask("/print/queues").json()["queues"]
        cls.queues = {one["name"]: one for one in queues}
        cls.stencil = str(cls.queues["stencil"]["id"])
        cls.receipts = str(cls.queues["receipts"]["id"])

    def assertSameDots(self, got: list[bytes], want: list[bytes]) -> None:
        unlike = [y for y, (a, b) in enumerate(zip(got, want)) if a != b]
        self.assertTrue(got == want, f"{len(got)} rows, not {len(want)}; {len(unlike)} differ, "
                                     f"the first is {unlike[:1]}")

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
                (self.stencil, self.printer, {"size": "15000", "lines": "true",
                                              "paper": "10150x10070", "mirror": "true"}),
                (self.receipts, self.receipt_printer, {"halftone_type": "burkes"}),
                (self.receipts, self.receipt_printer, {"paper": "7200x10000", "length": "5050"}),
                (self.stencil, self.printer, {"paper": "20300x29700", "length": "7000",
                                              "size": "fill", "mirror": "true"})):
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
                self.assertSameDots(decode(printer.job()).rows, dots)

    def test_the_page_before_is_a_picture_of_the_paper(self) -> None:
        upload = self.browser.upload(self.picture)
        answer = self.browser.ask("/print/before", upload=upload, queue=self.stencil,
                                  paper="10500x14800")
        figures, png = answer.body.split(b"\n", 1)
        figures, rows = json.loads(figures), read_png(png).rows
        width = round(105 * 300 / 25.4)
        self.assertEqual(len(rows), round(round(148 * 300 / 25.4) / figures["shrink"]))
        self.assertEqual(len(rows[0]), -(-width // figures["shrink"]))
        self.assertEqual((max(rows[0]), min(map(min, rows))), (255, 20))

    def test_a_page_on_a_roll_is_as_long_as_its_drawing_or_as_is_said(self) -> None:
        def rows(**fields: str) -> int:
            upload = self.browser.upload(self.picture)
            proof = self.browser.ask("/print/proof", upload=upload, queue=self.receipts, **fields)
            self.assertEqual(proof.status, 200, proof.body[:200])
            return dots_of(proof)[0]["original"]["rows"]
        drawing = round(200 * 203 / 300)
        for fields, want in (({"paper": "7200x20000"}, drawing), ({"paper": "7200x60000"}, drawing),
                             ({"length": "2000"}, 160), ({"length": "12345"}, 987),
                             ({"length": "2000", "size": "fill"}, 160),
                             ({"length": "300000"}, 23976)):
            with self.subTest(str(fields)):
                self.assertEqual(rows(**fields), want)

    def test_a_page_of_a_pdf(self) -> None:
        document = pdf((200, 200, "0 0 100 100 re f"), (200, 200, "50 50 20 20 re f"))
        answer = self.browser.post("/print/upload", document).json()
        self.assertTrue(answer["hasPages"])
        black = []
        for page, status in (("1", 200), ("2", 200), ("3", 415)):
            proof = self.browser.ask("/print/proof", upload=answer["upload"], queue=self.stencil,
                                     halftone_type="threshold", page=page, paper="10500x14800")
            self.assertEqual(proof.status, status, proof.body[:200])
            if status == 200:
                black.append(dots_of(proof)[0]["black"])
        self.assertAlmostEqual(black[0] / black[1], 25, delta=0.5)

    def test_copies_name_and_cancel(self) -> None:
        upload = self.browser.upload(self.picture)
        name = 'a "drawing", 100 % <b> äöü \U0001f58b'
        job = self.browser.ask("/print/job", upload=upload, queue=self.receipts, copies="2",
                               name=name)
        state = self.wait_end(job.json()["job"])
        self.assertEqual(state["state"], "completed")
        one = dots_of(self.browser.ask("/print/proof", queue=self.receipts,
                                       upload=self.browser.upload(self.picture)))[1]
        self.assertSameDots(decode(self.receipt_printer.job()).rows, 2 * one)
        client = self.server.client("receipts")
        self.assertEqual(client.job(state["number"])["job-name"], [name])
        away = self.server.add("away", f"socket://127.0.0.1:{free_port()}", "dravr802")
        queues = self.browser.ask("/print/queues").json()["queues"]
        number = str(next(one["id"] for one in queues if one["name"] == "away"))
        upload = self.browser.upload(self.picture)
        answer = self.browser.ask("/print/job", upload=upload, queue=number)
        self.assertEqual(answer.status, 200, answer.body)
        job = answer.json()["job"]
        self.assertEqual(self.browser.ask("/print/cancel", job=job).status, 200)
        self.assertEqual(self.wait_end(job)["state"], "canceled")

    # ---- What comes from elsewhere ------------------------------------------

    def test_requests_of_other_pages_are_refused(self) -> None:
        upload = self.browser.upload(self.picture)
        body = f"upload={upload}&queue={self.stencil}".encode()
        port = self.server.port
        for fields in ({"Origin": "http://evil.example"}, {"Origin": None}, {"Origin": "null"},
                       {"Origin": f"https://127.0.0.1:{port}"},
                       {"Origin": f"http://127.0.0.1:{port + 1}"},
                       {"Origin": f"http://127.0.0.1:{port}.evil.example"},
                       {"Authorization": None}, {"Authorization": "Bearer "},
                       {"Authorization": "Bearer " + "0" * 32},
                       {"Authorization": f"Bearer {self.browser.token}0"},
                       {"Authorization": f"Basic {self.browser.token}"}):
            for path in ("/print/proof", "/print/job", "/print/upload", "/print/queues",
                         "/print/cancel"):
                with self.subTest(f"{path} {fields}"):
                    self.assertEqual(self.browser.post(path, body, **fields).status, 403)
        self.assertEqual(self.printer.jobs(), [])

    def test_names_that_could_be_pointed_here_are_refused(self) -> None:
        port = self.server.port
        for host, status in ((f"127.0.0.1:{port}", 200), (f"localhost:{port}", 200),
                             (f"[::1]:{port}", 200), (f"studio.local:{port}", 200),
                             (f"1.evil.example:{port}", 403), (f"127.0.0.1.evil.example:{port}", 403),
                             (f"evil.example:{port}", 400)):
            with self.subTest(host):
                page = self.browser.get("/print", Host=host)
                self.assertEqual(page.status, status)
                self.assertEqual(self.browser.token.encode() in page.body, status == 200)
                answer = self.browser.post("/print/queues", Host=host, Origin=f"http://{host}")
                self.assertEqual(answer.status, status)
        self.assertEqual(self.browser.get("/print", Origin="http://evil.example").status, 403)

    def test_answers_tell_the_browser_to_be_careful(self) -> None:
        upload = self.browser.upload(self.picture)
        for answer in (self.browser.page, self.browser.get("/print/page.js"),
                       self.browser.get("/print/page.css"), self.browser.ask("/print/queues"),
                       self.browser.ask("/print/proof", upload=upload, queue=self.stencil),
                       self.browser.post("/print/queues", Authorization=None)):
            policy = answer.fields["Content-Security-Policy"].split("; ")
            self.assertIn("default-src 'none'", policy)
            self.assertIn("script-src 'self'", policy)
            self.assertIn("frame-ancestors 'none'", policy)
            self.assertFalse(any("unsafe" in one or "*" in one for one in policy), policy)
            self.assertEqual(answer.fields["X-Content-Type-Options"], "nosniff")
            self.assertEqual(answer.fields["Cache-Control"], "no-store")
            self.assertNotIn("Access-Control-Allow-Origin", answer.fields)
        self.assertIn("text/html", self.browser.page.fields["Content-Type"])
        self.assertNotRegex(self.browser.page.body, rb"<script>|<style|style=|onclick")

    # ---- Uploads ------------------------------------------------------------

    def test_what_is_no_drawing_is_refused(self) -> None:
        for document, status in ((b"", 400), (b"PK\3\4" + bytes(100), 415), (b"some text\n", 415),
                                 (b"%!PS\nshowpage\n", 415), (bytes(5000), 415)):
            self.assertEqual(self.browser.post("/print/upload", document).status, status)
        cut = self.browser.upload(self.picture[:len(self.picture) // 2])
        answer = self.browser.ask("/print/proof", upload=cut, queue=self.stencil)
        self.assertEqual(answer.status, 415, answer.body[:200])
        self.assertEqual(self.browser.ask("/print/job", upload=cut, queue=self.stencil).status, 415)
        self.assertEqual(self.printer.jobs(), [])

    def raw(self, request: str, body: bytes = b"") -> bytes:
        """The first line of the answer."""
        with socket.create_connection(("127.0.0.1", self.server.port), 20) as one:
            head = (f"POST /print/upload HTTP/1.1\r\nHost: {self.browser.host}\r\n"
                    f"Origin: http://{self.browser.host}\r\n"
                    f"Authorization: Bearer {self.browser.token}\r\n{request}\r\n")
            one.sendall(head.encode() + body)
            one.shutdown(socket.SHUT_WR)
            return one.recv(4096).split(b"\r\n")[0]

    def test_uploads_are_bounded(self) -> None:
        self.assertIn(b" 413 ", self.raw(f"Content-Length: {(256 << 20) + 1}\r\n"))
        self.assertIn(b" 413 ", self.raw("Content-Length: 99999999999999999\r\n"))
        self.assertIn(b" 411 ", self.raw("Transfer-Encoding: chunked\r\n", b"3\r\nabc\r\n0\r\n\r\n"))
        self.assertIn(b" 400 ", self.raw("Content-Length: 1000\r\n", b"too short"))
        self.assertEqual(self.browser.ask("/print/proof", name="x" * 5000).status, 400)
        first = self.browser.upload(self.picture)
        others = [self.browser.upload(self.picture) for _ in range(8)]
        self.assertEqual(len(set(others)), 8)
        for upload, status in ((first, 410), (others[0], 200), (others[7], 200)):
            answer = self.browser.ask("/print/proof", upload=upload, queue=self.stencil,
                                      paper="10500x14800")
            self.assertEqual(answer.status, status, answer.body[:200])

    def test_a_drawing_is_forgotten_at_the_end_of_its_job_and_leaves_no_file(self) -> None:
        upload = self.browser.upload(self.picture)
        job = self.browser.ask("/print/job", upload=upload, queue=self.stencil)
        self.assertEqual(self.wait_end(job.json()["job"])["state"], "completed")
        self.printer.job()
        answer = self.browser.ask("/print/proof", upload=upload, queue=self.stencil)
        self.assertEqual(answer.status, 410)
        spool = self.folder / "spool"
        self.assertEqual([one.name for one in spool.iterdir() if one.is_file()], [])

    def test_uploads_at_once_keep_apart(self) -> None:
        answers: dict[int, list[bytes]] = {}

        def work(number: int) -> None:
            browser = Browser(self.server)
            document = saved(line_drawing(60 + 20 * number, 100), "PNG", dpi=(300, 300))
            upload = browser.upload(document)
            answers[number] = dots_of(browser.ask(
                "/print/proof", upload=upload, queue=self.receipts, halftone_type="burkes"))[1]
        threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
        for one in threads:
            one.start()
        for one in threads:
            one.join()
        self.assertEqual(len(answers), 4)
        self.assertEqual(len({b"".join(rows) for rows in answers.values()}), 4)
        for number in range(4):
            work(number + 10)
            document = saved(line_drawing(60 + 20 * number, 100), "PNG", dpi=(300, 300))
            again = dots_of(self.browser.ask(
                "/print/proof", upload=self.browser.upload(document), queue=self.receipts,
                halftone_type="burkes"))[1]
            self.assertSameDots(answers[number], again)

    # ---- Fields -------------------------------------------------------------

    def test_unknown_fields_and_bad_values_are_refused(self) -> None:
        upload = self.browser.upload(self.picture)
        own = {"upload": upload, "queue": self.stencil}
        for fields in ({"colour": "red"}, {"cash-drawer-3": "job-start"}, {"halftone-type": "x"},
                       {"halftone-type": ""}, {"brightness": "dark"}, {"mirror": "yes"},
                       {"paper": "A4"}, {"paper": "100x100"}, {"paper": "21000x400000"},
                       {"paper": "21000x29700x1"}, {"length": "10000"},
                       {"length": "1999", "paper": "20300x29700"}, {"size": "0"}, {"size": "99999"},
                       {"size": "nan"}, {"turn": "45"}, {"turn": "360"}, {"clean": "1"},
                       {"page": "0"}, {"page": "2147483648"}, {"copies": "0"},
                       {"copies": "100"}, {"name": "x" * 241},
                       {"name": "a\r\nSet-Cookie: a=b"}, {"name": "a\0b"}):
            with self.subTest(str(fields)):
                answer = self.browser.post("/print/job",
                                           urllib.parse.urlencode(own | fields).encode())
                self.assertEqual(answer.status, 400, answer.body)
                self.assertNotIn("Set-Cookie", answer.fields)
        for body in (b"upload", b"a=1&a=2", b"a=%zz", b"=1", b"a=%0"):
            self.assertEqual(self.browser.post("/print/proof", body).status, 400, body)
        self.assertEqual(self.browser.ask("/print/proof", upload=upload, queue="99").status, 404)
        long = self.browser.upload(saved(Image.new("L", (10, 1600), 9), "PNG", dpi=(300, 300)))
        answer = self.browser.ask("/print/proof", upload=long, queue=self.stencil, size="fill",
                                  paper="2000x300000")
        self.assertEqual(answer.status, 415, answer.body[:200])
        self.assertIn("larger than a browser draws", answer.json()["error"])
        self.assertEqual(self.browser.ask("/print/proof", upload="x", queue="1").status, 410)
        self.assertEqual(self.browser.ask("/print/state", job="1").status, 410)
        self.assertEqual(self.printer.jobs(), [])

    def test_there_is_nothing_at_other_paths(self) -> None:
        for path in ("/print/../../../../etc/passwd", "/print/%2e%2e/%2e%2e/etc/passwd",
                     "/print/page.js/../../state", "/print/upload/x", "/print//"):
            for answer in (self.browser.get(path), self.browser.post(path)):
                self.assertIn(answer.status, (400, 404), path)
                self.assertNotIn(b"root:", answer.body)
        self.assertEqual(self.browser.get("/print/queues").status, 405)
        self.assertEqual(self.browser.post("/print").status, 405)
        self.assertTrue(self.server.lives)


class WebOffTest(AppCase):
    options = ("web=no",)

    def test_the_page_can_be_switched_off(self) -> None:
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=10)
        connection.request("GET", "/print")
        self.assertEqual(connection.getresponse().status, 404)
        connection.close()


if __name__ == "__main__":
    unittest.main()
