#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Asks a model about an SQLite file: ask_sqlite.py DATABASE QUESTION [HOST], with the key in OPENAI_API_KEY."""
import os
import sys

import zea

database, question, *host = sys.argv[1:]
with zea.Assistant("openai", key=os.environ.get("OPENAI_API_KEY", ""), model="gpt-4o", host="".join(host)) as assistant:
    assistant.describe(zea.sqlite_structure(database))
    try:
        answer = assistant.ask(question)
    except zea.Error as failure:
        sys.exit(zea.mask_secret(str(failure), os.environ.get("OPENAI_API_KEY", "")))
    print(answer)
    if statement := zea.first_statement(answer):
        with zea.Runner(database) as runner:
            for row in runner.run(statement, rows=20).rows:
                print(*row, sep=" | ")
