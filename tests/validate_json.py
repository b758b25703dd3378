#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Validates each JSON text on standard input, several if each is on a line of its own.

    validate_json.py SCHEMA
"""

import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as file:
    VALIDATOR = jsonschema.Draft202012Validator(json.load(file))
TEXT = sys.stdin.read()
try:
    DOCUMENTS = [json.loads(TEXT)]
except json.JSONDecodeError:
    DOCUMENTS = [json.loads(line) for line in TEXT.splitlines()]
for document in DOCUMENTS:
    VALIDATOR.validate(document)
print(len(DOCUMENTS))
