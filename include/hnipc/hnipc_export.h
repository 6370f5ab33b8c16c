// SPDX-License-Identifier: MIT
#ifndef HNIPC_EXPORT_H
#define HNIPC_EXPORT_H

#include <QtCore/QtGlobal>

/// @file

/// Marks the symbols that the shared library exports. All others are hidden.
#if defined(HNIPC_BUILDING_LIBRARY)
#define HNIPC_EXPORT Q_DECL_EXPORT
#else
#define HNIPC_EXPORT Q_DECL_IMPORT
#endif

#endif
