// SPDX-License-Identifier: MIT
#ifndef HNIPC_QML_HANDLERS_H
#define HNIPC_QML_HANDLERS_H

class QObject;
struct QMetaObject;

/// Connects each signal of a class to its twin, of which QML finds the handler. @p object is of the
/// class @p from, extended by the engine with @p twins; the signals that have twins are the first
/// methods of their class, in the same order.
void connectTwins(QObject *object, const QMetaObject &from, const QMetaObject &twins);

#endif
