# SPDX-License-Identifier: Apache-2.0
"""readme_programs.py README STANDIN ZEA: what the README shows for Python and in JSON does what it says there."""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import zea

readme, standin, console = sys.argv[1:]
blocks = re.findall(r"^```(python|json)\n(.*?)^```$", Path(readme).read_text(), re.S | re.M)
(program,) = [text for kind, text in blocks if kind == "python"]
structure, rules = [text for kind, text in blocks if kind == "json"]
with tempfile.TemporaryDirectory() as folder:
    os.chdir(folder)
    Path("rules.json").write_text(rules)
    subprocess.run([console, "sample", "shop.db"], check=True)
    with subprocess.Popen([standin, "--rules", "rules.json", "--record", "requests.txt"], stdout=subprocess.PIPE,
                          text=True) as server:
        try:
            url = server.stdout.readline().strip()
            assert url, "the rules are refused"
            # The host is all that differs.
            changed = program.replace('zea.Assistant("openai", ', f'zea.Assistant("openai", host="{url}", ')
            assert changed != program, "no assistant is made"
            exec(compile(changed, readme, "exec"), {})
            with zea.Assistant("openai", key="k", host=url, model="m") as assistant:
                assistant.describe(zea.Structure(structure, {}))
                assert "CREATE TABLE `shop`.`orders` (`id` int, " in assistant.get("combined_instructions")
                assert assistant.ask("Which are the open orders?") == "```sql\nSELECT * FROM orders\n```"
                for question, status in [("busy", 429), ("busy", 429), ("busy", 0), ("broken", None), ("gone", None)]:
                    try:
                        seen = 0 if assistant.ask(question) else None
                    except zea.Error as failure:
                        seen = failure.status
                    assert seen == status or (status is None and 0 < seen < 100), (question, seen)
        finally:
            server.terminate()
