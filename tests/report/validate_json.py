# SPDX-License-Identifier: Apache-2.0
"""Usage: validate_json.py SCHEMA DOCUMENT. Prints what the JSON schema has against the document, one line each; ends with
1 when it has something."""
import json
import sys

import jsonschema


def main() -> int:
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    with open(sys.argv[2], encoding="utf-8") as file:
        document = json.load(file)
    validator_class = jsonschema.validators.validator_for(schema)
    validator_class.check_schema(schema)
    validator = validator_class(schema, format_checker=jsonschema.FormatChecker())
    errors = sorted(validator.iter_errors(document), key=str)
    for error in errors:
        print("/".join(str(step) for step in error.absolute_path) + ": " + error.message[:200])
    return 1 if errors else 0


sys.exit(main())
