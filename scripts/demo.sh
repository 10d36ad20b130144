#!/usr/bin/env bash
# Runs the velmar command-line host on a generated sample outing.
set -euo pipefail
cli=$1
out=$2
"$cli" --version
