# SPDX-License-Identifier: GPL-2.0-or-later
# Sourced by the tests that are scripts.

# need COMMAND...: ends the test as skipped (77) where one of the commands is not installed; under CI that is a failure.
need() {
    local command
    for command in "$@"; do
        command -v "$command" >/dev/null && continue
        echo "skipped: $command is not installed; scripts/setup --peers installs it"
        [[ "${CI:-}" != true ]] || exit 1
        exit 77
    done
}
