# SPDX-License-Identifier: Apache-2.0
"""The package against the stand-in, whose program ZEA_STANDIN names."""

import json
import os
import signal
import sqlite3
import subprocess
import tempfile
import threading
import unittest
from pathlib import Path

import zea

RULES = [
    {"contains": "busy", "status": 429, "answer": "Too fast for sk-secret."},
    {"contains": "slow", "delayMs": 600000},
    {"contains": "nul", "answer": "a\u0000b \u00e9"},
    {"contains": "orders", "answer": "```sql\nSELECT id, note FROM orders ORDER BY id\n```"},
]


class KeptTurns:
    """A memory that a program writes."""

    def __init__(self):
        self.document, self.turns, self.fails = "", [], False

    def set_structure_document(self, document):
        self.document = document

    def structure_document(self):
        return self.document

    def add_entry(self, role, text):
        self.turns.append((role, text))

    def entries(self, limit):
        if self.fails:
            raise LookupError("no turns")
        return self.turns[-limit:] if limit > 0 else self.turns


class ZeaTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.database = str(Path(cls.folder.name) / "shop.db")
        with sqlite3.connect(cls.database) as connection:
            connection.execute("CREATE TABLE orders (id INTEGER PRIMARY KEY, note TEXT, picture BLOB)")
            connection.execute("INSERT INTO orders VALUES (1, 'caf\u00e9', x'00ff'), (2, NULL, NULL)")
        connection.close()
        rules = Path(cls.folder.name) / "rules.json"
        rules.write_text(json.dumps(RULES))
        cls.record = Path(cls.folder.name) / "record"
        server = subprocess.Popen([os.environ["ZEA_STANDIN"], "--rules", rules, "--record", cls.record],
                                  stdout=subprocess.PIPE, text=True)
        cls.addClassCleanup(server.stdout.close)
        cls.addClassCleanup(server.wait)
        cls.addClassCleanup(server.terminate)
        cls.url = server.stdout.readline().strip()

    def assistant(self, **more):
        return zea.Assistant("openai", key="sk-secret", host=self.url, model="m", **more)

    def test_asks_about_a_database_and_runs_the_statement(self):
        with self.assistant() as assistant, zea.Runner(self.database) as runner:
            assistant.describe(zea.sqlite_structure(self.database))
            reply = assistant.ask("Which orders?")
            rows = runner.run(zea.first_statement(reply))
            self.assertIn("CREATE TABLE `orders`", assistant.get("combined_instructions"))
            self.assertTrue(runner.run("SELECT * FROM orders", rows=1).is_cut)
            self.assertEqual(runner.run("SELECT picture FROM orders ORDER BY id").rows, [(b"\x00\xff",), (None,)])
            with self.assertRaisesRegex(zea.Error, "It changes rows."):
                runner.run("DELETE FROM orders")
        self.assertEqual(rows, zea.Rows(["id", "note"], [("1", "caf\u00e9"), ("2", None)], False))

    def test_each_provider_answers_and_lists(self):
        for provider in zea.Provider:
            with self.subTest(provider), zea.Assistant(provider, key="k", host=self.url, model="m") as assistant:
                self.assertIn("orders", assistant.ask("Which orders?"))
                self.assertTrue(assistant.endpoint.startswith(self.url))
                self.assertEqual(bool(assistant.models()), provider != zea.Provider.BYTEDANCE)

    def test_failures_have_a_sentence_and_leave_no_trace(self):
        memory = KeptTurns()
        with self.assistant(memory=memory) as assistant:
            with self.assertRaises(zea.Error) as caught:
                assistant.ask("Are you busy?")
            self.assertEqual(caught.exception.status, 429)
            self.assertNotIn("sk-secret", zea.mask_secret(str(caught.exception), "sk-secret"))
            self.assertEqual(memory.turns, [])
            with self.assertRaisesRegex(zea.Error, "does not take that value for nothing"):
                assistant.set("nothing", "x")
            self.assertEqual(assistant.ask("nul"), "a\0b \u00e9")
        for closed in (lambda: assistant.ask("again"), lambda: assistant.set("model", "m"), assistant.models):
            with self.assertRaisesRegex(zea.Error, "null"):
                closed()
        with self.assertRaises(KeyError):
            zea.Assistant("acme")

    def test_a_memory_in_python_keeps_the_turns_and_its_exceptions_arrive(self):
        memory = KeptTurns()
        with self.assistant(memory=memory) as assistant:
            assistant.ask("Which orders?")
            assistant.ask("And these orders?")
            self.assertEqual([role for role, _ in memory.turns], [0, 1, 0, 1])
            self.assertIn("Which orders?", self.record.read_text().rsplit("POST", 1)[1])
            memory.fails = True
            with self.assertRaisesRegex(LookupError, "no turns"):
                assistant.ask("Which orders?")
            memory.fails = False
            self.assertIn("orders", assistant.ask("Which orders?"))

    def wait_for(self, question):
        while question not in self.record.read_text():
            threading.Event().wait(0.01)

    def test_another_thread_ends_a_question(self):
        with self.assistant() as assistant:
            def cancel():
                self.wait_for("slow of a thread")
                assistant.cancel()

            thread = threading.Thread(target=cancel)
            thread.start()
            with self.assertRaisesRegex(zea.Error, "cancelled"):
                assistant.ask("slow of a thread")
            thread.join()

    def test_control_c_ends_a_question(self):
        with self.assistant() as assistant:
            def interrupt():
                self.wait_for("slow of a person")
                os.kill(os.getpid(), signal.SIGINT)

            thread = threading.Thread(target=interrupt)
            thread.start()
            with self.assertRaises(KeyboardInterrupt):
                assistant.ask("slow of a person")
            thread.join()
            self.assertIn("orders", assistant.ask("Which orders?"))

    def test_the_librarys_own_texts_are_translated(self):
        def refused():
            with zea.Assistant("openai", host=self.url) as assistant, self.assertRaises(zea.Error) as caught:
                assistant.ask("Which orders?")
            return str(caught.exception)

        self.addCleanup(zea.set_localizer, None)
        for localize, sentence in [(lambda text: {"Model is empty": "Kein Modell gew\u00e4hlt"}[text], "Kein Modell gew\u00e4hlt"),
                                   (lambda text: "\u00e4" * 5000, "\u00e4" * 400), (lambda text: None, "Model is empty"),
                                   (lambda text: {}[text], "Model is empty"), (None, "Model is empty")]:
            zea.set_localizer(localize)
            self.assertTrue(refused().startswith(sentence), refused())

    def test_texts_are_measured_and_fitted(self):
        structure = zea.sqlite_structure(self.database)
        self.assertGreater(zea.estimate_tokens(structure.document), 10)
        self.assertEqual(json.loads(zea.fit(structure.document, "orders", 0)), [])
        self.assertIn("orders", zea.fit(structure.document, "orders"))
        self.assertIn("SQLite", " ".join(structure.instructions.values()))
        self.assertRegex(zea.version(), r"^\d+\.\d+\.\d+$")
        with self.assertRaisesRegex(zea.Error, "There is no file"):
            zea.sqlite_structure("/none")


if __name__ == "__main__":
    unittest.main()
