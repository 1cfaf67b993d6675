#!/usr/bin/env python3
"""Counts the results a SARIF log with baseline states misjudged against the truth written by
gen_sarif.py: a new result not said to be new, an old one said to be new, a fixed one not
reported absent, one reported absent that was not fixed.

usage: score_baseline.py LOG TRUTH
Prints: MISJUDGED NEW_SAID ABSENT_SAID
"""
import json
import sys

log_path, truth_path = sys.argv[1:3]
with open(truth_path) as truth:
    fixed = set(truth.readline().split())
    added = set(truth.readline().split())
with open(log_path, encoding="utf-8-sig") as source:
    log = json.load(source)
misjudged = 0
new_said = 0
absent_said = set()
for run in log.get("runs", []):
    for result in run.get("results") or []:
        identity = str((result.get("properties") or {}).get("bench"))
        state = result.get("baselineState")
        if state == "absent":
            absent_said.add(identity)
            misjudged += identity not in fixed
            continue
        new_said += state == "new"
        misjudged += (state == "new") != (identity in added)
misjudged += len(fixed - absent_said)
print(misjudged, new_said, len(absent_said))
