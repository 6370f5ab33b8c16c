// SPDX-License-Identifier: MIT
#include "handlers.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QObject>

// To the object's own meta-object, as the engine has extended it: if the extension emitted the
// twins, Qt 5 would count the notifying signal of a property twice, and emit the wrong ones.
void connectTwins(QObject *object, const QMetaObject &from, const QMetaObject &twins)
{
    const QMetaObject *extended = object->metaObject();
    for (int i = from.methodCount(); i < extended->methodCount(); ++i) {
        const int twin = twins.indexOfSignal(extended->method(i).methodSignature());
        const int place = twin - twins.methodOffset();
        if (place >= 0) {
            QObject::connect(object, from.method(from.methodOffset() + place), object,
                             extended->method(i));
        }
    }
}
