# SPDX-License-Identifier: GPL-2.0-or-later
"""What is run. A document is named as its schema; {NAME} is the path of a machine or file that machines.py makes."""

SICK = ("ward", "slow", "denied", "asleep", "noisy", "worn")
MACHINES = ("tower", "laptop", "bare.json", "faulty.json", *SICK, "tower.vantorel", "slow.vantorel", "torn.vantorel",
            "noise", "text", "missing")
REPORTS = ("tower", "laptop", *SICK, "torn", "cut", "renamed", "dropped", "short")

# Document, command line.
CASES = [
    *(("list", f"list --json --machine {{{machine}}}") for machine in MACHINES),
    *(("smart", f"smart --json --raw --machine {{{machine}}}") for machine in MACHINES),
    *(("smart", f"check --json --machine {{{machine}}}") for machine in MACHINES),
    *(("smart", f"smart --json disk6 nowhere {disk} --machine {{ward}}") for disk in ("disk0", "disk1", "disk2", "disk3")),
    ("smart", "check --json nowhere --machine {faulty.json}"),
    *(("stats", f"stats --json --machine {{{machine}}}") for machine in MACHINES),
    ("stats", "stats --json --interval 0.01 --count 2 disk1 --machine {tower}"),
    ("stats", "stats --json nowhere --machine {tower}"),
    *(("errors", f"errors --json disk0 --machine {{{machine}}}") for machine in MACHINES),
    ("errors", "errors --json nowhere --machine {laptop}"),
    ("watch", "watch --json --count 25 --for 20 --machine {lively}"),
    ("watch", "watch --json --count 5 --machine {laptop}"),
    *(("watch", f"watch --json --for 0 --machine {{{machine}}}") for machine in ("bare.json", "noise", "missing")),

    *(("history-add", f"history add --json --machine {{{machine}}} --db {{history.db}}")
      for machine in ("tower", "laptop", "worn", "ward", "bare.json", "missing")),
    ("history-add", "history add --json --machine {tower} --db {noise}"),
    ("history-add", "history import --json {tower.vantorel} {noise} {laptop.vantorel} {tower.vantorel} --db {history.db}"),
    ("history-show", "history show --json --db {history.db}"),
    ("history-show", "history show --json --readings disk3 --machine {tower} --db {history.db}"),
    ("history-show", "history show --json WD-WCAPW0TOWER1 --most 1 --db {history.db}"),
    ("history-show", "history show --json --db {missing}"),
    ("history-acknowledge", "history acknowledge --json WD-WCAPW0TOWER1 hdd.pending.high --db {history.db}"),
    ("history-acknowledge", "history acknowledge --json WD-WCAPW0TOWER1 heat.high --db {history.db}"),
    ("watch-health", "watch --health --json --interval 1s --for 4 --machine {ward} --db {watched.db}"),
    ("watch-health", "watch --health --json --for 3 --machine {tower} --db {watched.db}"),
    ("watch-health", "watch --health --json --for 3 --machine {worn} --db {watched.db}"),
    ("smart", "check --json --machine {worn} --db {history.db}"),
    ("history-show", "history show --json disk1 --machine {tower} --db {history.db}"),
    ("history-acknowledge", "history acknowledge --json --withdraw disk1 hdd.pending.high --machine {tower} --db {history.db}"),
    ("history-prune", "history prune --json --older-than 0s --db {history.db}"),

    *(("show", f"show --json --raw {{{report}.vantorel}}") for report in REPORTS),
    *(("show", f"show --json {{{file}}}") for file in ("noise", "text", "missing", "tower")),
    *(("diff", f"diff --json {{tower.vantorel}} {{{report}.vantorel}}") for report in REPORTS),
    *(("diff", f"diff --json {{{report}.vantorel}} {{tower.vantorel}}") for report in ("worn", "torn")),
    *(("diff", f"diff --json {{{file}}} {{tower.vantorel}}") for file in ("noise", "text", "missing")),

    *((document, f"fleet {option} {{{report}.vantorel}} {{tower.vantorel}}")
      for document, option in (("fleet", "--json"), ("fleet-line", "--ndjson")) for report in REPORTS),
    *((document, f"fleet {option} {{{file}}}")
      for document, option in (("fleet", "--json"), ("fleet-line", "--ndjson")) for file in ("noise", "missing", "tower")),

    *(("decode", f"decode ata --json --raw {{tower}}/{drive}-data.bin {{tower}}/{drive}-thresholds.bin --model X{ssd}")
      for drive in ("intel", "wdc", "samsung", "maxtor") for ssd in ("", " --ssd")),
    ("decode", "decode ata --json {warm-data.bin} {warm-thresholds.bin} --model 'HGST HUS726020ALE614'"),
    ("decode", "decode ata --json {noise} {noise} --model X --ssd"),
    ("decode", "decode ata --json {tower}/wdc-data.bin {text} --model X"),
    ("decode", "decode ata --json {missing} {tower}/wdc-thresholds.bin --model X"),
    ("decode", "decode ata --json {tower}/wdc-data.bin {tower}/wdc-thresholds.bin"),
    ("decode", "decode nvme --json --raw {laptop}/nvme-log.bin --identify {laptop}/nvme-identify.bin"),
    *(("decode", f"decode nvme --json {{{file}}}") for file in ("noise", "text", "missing", "tower")),

    *(("db-show", f"db show --json '{model}'") for model in ("WDC WD5000AAKS-00TMA0", "ST3000DM001-1CH166 CC24", "X", "")),
    ("db-show", "db show --json --drive-table {missing} X"),

    *(("machine-check", f"machine check --json {{{machine}}}") for machine in (*MACHINES, "lively")),
    *(("machine", f"record - --machine {{{machine}}}") for machine in ("tower", "laptop", "lively", *SICK)),

    ("error", "--json nonsense"),
    ("error", "list --json=true --machine {missing}"),
    ("error", "smart --json --brief"),
    ("error", "list --json --machine sample:nowhere"),
]

# What prints any number of documents.
STREAMS = ("watch", "stats", "watch-health", "fleet-line")

# Documents that are files and no output.
FILES = [
    *(("machine", f"{{{machine}}}/machine.json") for machine in ("tower", "laptop", "lively", "ward", "slow")),
    ("machine", "{bare.json}"),
]

# The keys that no run above can show, and why.
UNSEEN = {
    **{f"fleet.json#/properties/unusual/items {key}": "takes ten drives of a model: tests/fleet"
       for key in ("model", "kind", "bad", "judged", "othersBad", "othersJudged", "chance")},
    "smart.json#/$defs/drive remedy": "only this computer knows one",
    "errors.json# remedy": "only this computer knows one",
    "watch-health.json# comparedTo": "tests/host/service.py shows it",
    "watch-health.json# remedy": "only this computer knows one",
    "history-show.json#/$defs/drive/properties/growths/items machine": "no sample tells its machine",
    "history-show.json#/$defs/reading machine": "no sample tells its machine",
    "machine.json#/$defs/drive/properties/nvme comment": "as that of ata",
}
