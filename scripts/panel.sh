# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. has_module and has_panel check whether a build has the QML module and the front panel.
# HNIPC_QML=OFF builds neither.

has_target() {
    local targets
    targets=$(cmake --build "$1" --target help)
    grep --quiet --word-regexp "$2" <<<"$targets"
}
has_module() { has_target "$1" hnipcqml; }
has_panel() { has_target "$1" hnipc-panel; }
