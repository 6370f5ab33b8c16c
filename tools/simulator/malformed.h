// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_MALFORMED_H
#define HNIPC_SIMULATOR_MALFORMED_H

#include <hnipc/supplyinformation.h>

#include <QtCore/QVariant>

/// The arguments of a reply with @p record in the shape @p shape, which is not "none".
QVariantList shapedRecord(const QString &shape, const SupplyInformation &record);

#endif
