#!/usr/bin/env python3
"""Writes two SARIF logs of one tool's runs on a changing code base, and the truth of their
comparison: BASE, then HEAD with some findings fixed, some new and every other one moved by a
few lines (its message renumbered with it). Each result carries its true identity in
properties.bench.

usage: gen_sarif.py RESULTS SEED (fingerprints|plain) BASE HEAD TRUTH
  fingerprints  each result has a fingerprint of its own
  plain         none: the comparison has to go by rule, file, code and message
TRUTH gets two lines: the identities fixed, then the identities new, blank separated.
"""
import json
import random
import sys

results, seed, kind, base_path, head_path, truth_path = sys.argv[1:7]
results = int(results)
rng = random.Random(int(seed))
with_prints = kind == "fingerprints"
files = [f"src/module_{m:03d}/unit_{u:03d}.c" for m in range(60) for u in range(40)]
rules = [f"R{r:03d}" for r in range(80)]
verbs = ["compute", "update", "parse", "encode", "release", "lookup", "insert", "flush"]


def finding(identity):
    """A finding of its own: rule, file, line, code and a message naming the line."""
    r = random.Random(identity)
    variable = f"v{r.randrange(1 << 20):05x}"
    return {
        "id": identity,
        "rule": r.choice(rules),
        "file": r.choice(files),
        "line": r.randrange(1, 4000),
        "column": r.randrange(1, 40),
        "code": f"    int {variable} = {r.choice(verbs)}_{r.randrange(1000)}(ctx, {r.randrange(64)});",
        "variable": variable,
    }


def result(f, line):
    entry = {
        "ruleId": f["rule"],
        "level": "warning",
        "message": {"text": f"Variable '{f['variable']}' declared at line {line} is assigned but "
                            f"never read in this function; remove it or use its value."},
        "locations": [{"physicalLocation": {
            "artifactLocation": {"uri": f["file"], "uriBaseId": "SRCROOT"},
            "region": {"startLine": line, "startColumn": f["column"],
                       "snippet": {"text": f["code"]}}}}],
        "properties": {"bench": str(f["id"])},
    }
    if with_prints:
        entry["fingerprints"] = {"stableId/v1": f"{f['id']:016x}"}
    return entry


def log(entries):
    rule_list = [{"id": r, "shortDescription": {"text": f"Rule {r} of the bench set"}}
                 for r in rules]
    return {"$schema": "https://json.schemastore.org/sarif-2.1.0.json", "version": "2.1.0",
            "runs": [{"tool": {"driver": {"name": "benchlint", "version": "1.0.0",
                                          "informationUri": "https://example.org/benchlint",
                                          "rules": rule_list}},
                      "originalUriBaseIds": {"SRCROOT": {"uri": "file:///home/ci/work/"}},
                      "results": entries}]}


base = [finding(rng.randrange(1 << 62)) for _ in range(results)]
changes = max(1, results // 100)
fixed = set(rng.sample(range(results), changes))
head = []
for i, f in enumerate(base):
    if i in fixed:
        continue
    head.append((f, f["line"] + rng.randrange(1, 60)))  # moved down by some lines
added = [finding(rng.randrange(1 << 62)) for _ in range(changes)]
for f in added:
    head.insert(rng.randrange(len(head) + 1), (f, f["line"]))

with open(base_path, "w") as out:
    json.dump(log([result(f, f["line"]) for f in base]), out, separators=(",", ":"))
with open(head_path, "w") as out:
    json.dump(log([result(f, line) for f, line in head]), out, separators=(",", ":"))
with open(truth_path, "w") as out:
    out.write(" ".join(str(base[i]["id"]) for i in sorted(fixed)) + "\n")
    out.write(" ".join(str(f["id"]) for f in added) + "\n")
