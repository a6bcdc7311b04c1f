#!/bin/sh
# SPDX-License-Identifier: MIT
# Verifies one share of a list of files: for a Kubernetes Job (docs/bulk.md), arrays of batch systems, or a loop.
# Usage: shard.sh LIST SHARES INDEX FOLDER [options of xmldsig verify]
#
# The share is every SHARES-th line of LIST from INDEX (0 to SHARES - 1) on. Its reports go to
# FOLDER/part-INDEX.ndjson, which appears when all of them are in it. A share that is there already is not
# done again, so that the whole may be started again as often as it takes. The exit code is 0 when every file
# of the share has its report, whatever that says.
list=$1 shares=$2 index=$3 folder=$4
shift 4

part=$folder/part-$index.ndjson
[ ! -e "$part" ] || exit 0
names=$(mktemp) || exit 2
reports=$(mktemp "$folder/.part-$index.XXXXXX") || exit 2
trap 'rm -f "$names" "$reports"' EXIT
awk -v shares="$shares" -v index_="$index" '(NR - 1) % shares == index_' "$list" >"$names" || exit 2

# Its exit code tells of documents; whether it did its work, the number of its reports.
xmldsig verify --json --files-from "$names" "$@" >"$reports"
[ "$(wc -l <"$reports")" -eq "$(wc -l <"$names")" ] || exit 2
mv "$reports" "$part"
