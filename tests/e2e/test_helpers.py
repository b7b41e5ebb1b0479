# SPDX-License-Identifier: Apache-2.0
"""The helpers of these tests: a stream decoder that lets nothing pass, raster streams, PPDs."""
import struct
import unittest

import cups_raster
import escpos_stream
import filter_case
import ppd_text

BAND = bytes.fromhex("1D763000 0200 0300 010203040506")


class EscposStreamTest(unittest.TestCase):
    def test_takes_every_command_apart(self) -> None:
        commands = (
            ("initialise", "1B40"), ("density", "1F1B1F131407"), ("drawer 1", "1B70004040"),
            ("drawer 2", "1B70014040"), ("buzzer", "1B420203"), ("align", "1B6101"),
            ("logo", "1C700100"), ("position", "1B240100"), ("band", BAND.hex()),
            ("page feed", "1B4AA0"), ("partial cut", "0A0A0A0A1D5601"), ("job feed", "1B4A78"),
            ("feed lines", "1B6403"), ("full cut", "0A0A0A0A1D5600"), ("status request", "1B76"),
        )
        stream = bytes(64) + b"".join(bytes.fromhex(data) for _, data in commands)
        job = escpos_stream.decode(stream)
        self.assertEqual(job.names(), ["zeros", *(name for name, _ in commands)])
        self.assertEqual(b"".join(item.data for item in job.items), stream)
        self.assertEqual([item.offset for item in job.items[:4]], [0, 64, 66, 72])
        self.assertEqual(job.rows, [b"\1\2", b"\3\4", b"\5\6"])
        self.assertEqual(escpos_stream.page_rows(job), [[b"\1\2", b"\3\4", b"\5\6"]])

    def test_rejects_what_the_filter_never_sends(self) -> None:
        for bad in ("00", "41", "1B41", "0A", "0A0A0A1D5601", "1D5601", "0A0A0A0A1D5602",
                    "1B70024040", "1B70003040", "1B240200", "1B4AA1", "1D763001010001FF",
                    "1D763000000001 00", "1D76300001000000", "1D763000 0100 6100" + "FF" * 97):
            with self.subTest(bad), self.assertRaises(escpos_stream.StreamError):
                escpos_stream.decode(bytes(64) + bytes.fromhex("1B40 " + bad))

    def test_rejects_every_cut_inside_a_command(self) -> None:
        for command in (BAND, bytes.fromhex("1F1B1F131407"), bytes.fromhex("0A0A0A0A1D5600")):
            for length in range(1, len(command)):
                with self.subTest(command=command.hex(), length=length):
                    with self.assertRaises(escpos_stream.StreamError):
                        escpos_stream.decode(bytes(64) + command[:length])

    def test_wants_the_64_zero_bytes(self) -> None:
        for zeros in (0, 63, 65):
            with self.subTest(zeros), self.assertRaises(escpos_stream.StreamError):
                escpos_stream.decode(bytes(zeros) + b"\x1b\x40")

    def test_a_record_holds_bands_alone(self) -> None:
        rows = [b"\1\2", b"\3\4", b"\5\6"]
        self.assertEqual(escpos_stream.decode_bands(BAND + BAND).rows, rows * 2)
        with self.assertRaises(escpos_stream.StreamError):
            escpos_stream.decode_bands(BAND + b"\x1b\x40")


class CupsRasterTest(unittest.TestCase):
    def test_header_sizes_and_offsets(self) -> None:
        page = cups_raster.page(945, 2362, b"", NumCopies=3, cupsPageSizeName="A4")
        for order in cups_raster.BYTE_ORDERS:
            old = cups_raster.page_bytes(page, 1, order)
            new = cups_raster.page_bytes(page, 3, order)
            self.assertEqual((len(old), len(new)), (420, 1796))
            self.assertEqual(old, new[:420])
            self.assertEqual(struct.unpack(order + "2I", new[276:284]), (300, 300))
            self.assertEqual(struct.unpack(order + "I", new[340:344]), (3,))
            self.assertEqual(struct.unpack(order + "2I", new[372:380]), (945, 2362))
            self.assertEqual(struct.unpack(order + "5I", new[384:404]), (8, 8, 945, 0, 3))
            self.assertEqual(new[1732:1735], b"A4\0")

    def test_sync_words(self) -> None:
        words = {cups_raster.sync_bytes(v, o) for v in (1, 2, 3) for o in cups_raster.BYTE_ORDERS}
        self.assertEqual(words, {b"RaSt", b"tSaR", b"RaS2", b"2SaR", b"RaS3", b"3SaR"})

    def test_run_lengths(self) -> None:
        self.assertEqual(cups_raster.compress_row(b"\1\1\1\2"), b"\x02\1\x00\2")
        self.assertEqual(cups_raster.compress_row(b"\1\2\3\3"), b"\xff\1\2\x01\3")
        self.assertEqual(cups_raster.compress_row(b"\7" * 130), b"\x7f\7\x01\7")
        self.assertEqual(cups_raster.compress_row(b"\1\2\3\1\2\3", 3), b"\x01\1\2\3")
        self.assertEqual(cups_raster.compress(b"\1\2" * 3 + b"\3\3", 2),
                         b"\x02\xff\1\2\x00\x01\3")

    def test_unknown_fields_are_refused(self) -> None:
        with self.assertRaises(ValueError):
            cups_raster.stream([cups_raster.grey([b"\0"], cupsWidht=1)])


class PpdTextTest(unittest.TestCase):
    def test_only_page_size_by_default(self) -> None:
        self.assertEqual(ppd_text.ppd_text().count("*OpenUI"), 1)
        self.assertNotIn("PageSize", ppd_text.without_page_size({"pageCutType": "1"}))

    def test_options_and_attributes(self) -> None:
        text = ppd_text.ppd_text({"docCutType": ("2", "0")}, {"MaxMediaWidth": "576"})
        for line in ("*DefaultdocCutType: 2", '*docCutType 0/0: ""', '*MaxMediaWidth: "576"'):
            self.assertIn(line, text.splitlines())
        with self.assertRaises(ValueError):
            ppd_text.all_options(docCutTyp="1")


if __name__ == "__main__":
    filter_case.main()
