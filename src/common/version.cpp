// SPDX-License-Identifier: MIT
#include <hnipc/hnipc_version.h>

const char *hnipcVersion() { return HNIPC_VERSION_STRING; }
