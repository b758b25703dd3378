#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads OpenMetrics text on standard input and prints one line for each sample.

    read_metrics.py [RULES BOARD]    also checks that the alert rules and the board, YAML and JSON,
                                     name metrics that the text has
"""

import json
import re
import sys

from prometheus_client.openmetrics.parser import text_string_to_metric_families

NAMES = set()
for family in text_string_to_metric_families(sys.stdin.read()):
    for sample in family.samples:
        NAMES.add(sample.name)
        labels = ",".join(f"{name}={value}" for name, value in sample.labels.items())
        print(f"{family.type} {sample.name} {{{labels}}} {sample.value:g}")

if len(sys.argv) > 1:
    import yaml

    with open(sys.argv[1], encoding="utf-8") as rules, open(sys.argv[2], encoding="utf-8") as board:
        EXPRESSIONS = [rule["expr"] for group in yaml.safe_load(rules)["groups"]
                       for rule in group["rules"]]
        EXPRESSIONS += [target["expr"] for panel in json.load(board)["panels"]
                        for target in panel["targets"]]
    USED = set(re.findall(r"\bkestrun_\w+", " ".join(EXPRESSIONS)))
    if not USED or USED - NAMES:
        sys.exit(f"rules and board name {len(USED)} metrics; unknown are {sorted(USED - NAMES)}")
