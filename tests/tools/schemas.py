"""Validates what vexactl reads and prints with the published JSON schemas.

usage: schemas.py VEXACTL SOURCES
"""
import copy
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema
import yaml

ENVELOPES = [
    ("203.0.113.5", "someone@elsewhere.example", ["sales-eu@example.com"]),
    ("198.51.100.7", "buyer@partner-two.example", ["info@example.net"]),
    ("203.0.113.5", "someone@elsewhere.example", ["sales@example.org"]),
    ("203.0.113.5", "anna@example.com", ["customer@elsewhere.example"]),
    ("203.0.113.5", "spammer@elsewhere.example", ["victim@other.example"]),
    ("10.20.3.4", "cron@example.com", ["root@elsewhere.example"]),
    ("2001:db8:aa::5", "<>", ["ceo@example.com", "nobody@other.example"]),
    ("203.0.113.9", "", []),
]

failures = []


def check(name, good, detail=""):
    print(f"{'ok  ' if good else 'FAIL'} {name}{': ' + detail if detail and not good else ''}")
    if not good:
        failures.append(name)


def first_error(validator, document):
    error = next(validator.iter_errors(document), None)
    return "" if error is None else f"{list(error.absolute_path)}: {error.message[:300]}"


def validator_of(schema):
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def main(vexactl, sources):
    sources = pathlib.Path(sources)
    gateway = sources / "examples" / "gateway.yaml"
    with tempfile.TemporaryDirectory() as folder:
        store = f"{folder}/store"

        def run(*arguments, codes=(0,)):
            result = subprocess.run([vexactl, "--store", store, *arguments], capture_output=True, text=True)
            if result.returncode not in codes:
                sys.exit(f"vexactl {' '.join(arguments)}: exit code {result.returncode}\n{result.stderr}")
            return result.stdout

        run("load", str(gateway))
        configuration_schema(validator_of(json.loads(run("schema"))), gateway, run("dump"))
        explain_schema(validator_of(json.loads((sources / "docs" / "explain.schema.json").read_text())), run)


def configuration_schema(validator, gateway, dumped):
    example = yaml.safe_load(gateway.read_text())
    for name, document in (("the example", example), ("its dump", yaml.safe_load(dumped))):
        error = first_error(validator, document)
        check(f"{name} fits the schema of the text form", not error, error)

    def refused(name, change):
        document = copy.deepcopy(example)
        change(document)
        check(f"the schema refuses {name}", bool(first_error(validator, document)))

    refused("an unknown table", lambda d: d.update({"unheard-of": []}))
    refused("an unknown field", lambda d: d["antispam-profiles"][0].update({"rbl-server": []}))
    refused("a list for a setting", lambda d: d["system"].update({"host-name": ["mx"]}))
    refused("a port out of range", lambda d: d["mail-server"].update({"smtp-port": 70000}))
    refused("an unknown word", lambda d: d["antispam-actions"][0].update({"disposition": "discrad"}))
    refused("a record without a name", lambda d: d["antispam-profiles"].append({"rbl": True}))


def explain_schema(validator, run):
    documents = []
    for switch in ("on", "off"):
        run("set", "content-inspection", switch)
        for client, sender, recipients in ENVELOPES:
            arguments = ["explain", "--json", "--client", client, "--server", "192.0.2.1", "--from", sender]
            for recipient in recipients:
                arguments += ["--rcpt", recipient]
            document = json.loads(run(*arguments, codes=(0, 1)))
            documents.append(document)
            error = first_error(validator, document)
            check(f"explain of {client}, {sender!r}, {recipients}, inspection {switch}", not error, error)

    def refused(name, change):
        document = copy.deepcopy(documents[0])
        change(document)
        check(f"the schema of explain refuses {name}", bool(first_error(validator, document)))

    refused("an unknown key", lambda d: d.update({"more": 1}))
    refused("a missing revision", lambda d: d.pop("revision"))
    refused("an unknown outcome", lambda d: d["connection"]["considered"][0].update({"outcome": "?"}))
    refused("an outcome without a sentence", lambda d: d["connection"]["considered"][0].pop("outcomeText"))
    refused("an unknown antispam setting",
            lambda d: d["recipients"][0]["policy"]["profiles"]["antispam"]["settings"].update({"more": 1}))
    refused("an action without a sentence",
            lambda d: d["recipients"][0]["policy"]["profiles"]["antispam"]["defaultActions"][0].pop("text"))


if __name__ == "__main__":
    main(*sys.argv[1:])
    sys.exit(f"{len(failures)} failed" if failures else 0)
