# SPDX-License-Identifier: MIT
# Sourced: whether a build has the front panel, which HNIPC_QML=OFF leaves out.

has_panel() {
    local targets
    targets=$(cmake --build "$1" --target help)
    grep --quiet --word-regexp hnipc-panel <<<"$targets"
}
