// SPDX-License-Identifier: MIT
#ifndef HNIPC_EXPORT_H
#define HNIPC_EXPORT_H

#include <QtCore/QtGlobal>

/// @file

/// Marks what the shared library shows; everything else stays hidden in it.
#if defined(HNIPC_BUILDING_LIBRARY)
#define HNIPC_EXPORT Q_DECL_EXPORT
#else
#define HNIPC_EXPORT Q_DECL_IMPORT
#endif

#endif
