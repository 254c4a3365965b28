#!/usr/bin/env python3
"""Holds JSON documents against a JSON Schema; a line for each, "ok" or where it is wrong.

  tests/agent/validate.py SCHEMA DOCUMENT...
"""

import json
import sys

import jsonschema


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def main():
    schema = read(sys.argv[1])
    jsonschema.Draft4Validator.check_schema(schema)
    validator = jsonschema.Draft4Validator(schema)
    for path in sys.argv[2:]:
        faults = [f"{'/'.join(map(str, fault.absolute_path))}: {fault.message[:200]}"
                  for fault in validator.iter_errors(read(path))]
        print("; ".join(faults) or "ok")


if __name__ == "__main__":
    main()
