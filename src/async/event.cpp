// SPDX-License-Identifier: MIT
#include "async/event_p.h"

#include "async/metamethod_p.h"
#include "common/serviceidentity_p.h"

#include <hnipc/hnipcevents.h>

#include <QtCore/QHash>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusMetaType>

#include <vector>

namespace {

struct Events
{
    Events()
    {
        const QMetaObject &meta = HNIPCEvents::staticMetaObject;
        for (int i = 0; i < relayRowCount; ++i) {
            const RelayRow &row = relayRows()[i];
            const QByteArray signature = QMetaObject::normalizedSignature(row.signal + 1);
            Event event;
            event.daemon = row.daemon;
            event.methodIndex = meta.indexOfSignal(signature.constData());
            const QMetaMethod method = meta.method(event.methodIndex);
            event.name = QString::fromLatin1(nameOf(method));
            const QList<int> types = parameterTypesOf(method);
            event.parameterCount = types.size();
            for (int j = 0; j < types.size(); ++j) {
                event.wireSignature += QLatin1String(wireTypeOf(types.at(j)));
            }
            all.push_back(event);
            rowByName.insert(event.name, i);
            rowByMember.insert(QString::fromLatin1(row.member), i);
        }
    }

    std::vector<Event> all;
    QHash<QString, int> rowByName;
    QHash<QString, int> rowByMember;
};

// Never destroyed: signals may still arrive while static objects are destroyed.
const Events &events()
{
    static const Events *const instance = new Events;
    return *instance;
}

} // namespace

const Event &eventOfRow(int row) { return events().all[row]; }

int rowOfSignal(const QString &name) { return events().rowByName.value(name, noRow); }

int rowOfMessage(const QDBusMessage &message)
{
    const int row = events().rowByMember.value(message.member(), noRow);
    if (row == noRow) {
        return noRow;
    }
    const Event &found = eventOfRow(row);
    const bool fits = message.interface() == serviceIdentity(found.daemon)->interfaceName
        && message.signature().startsWith(found.wireSignature);
    return fits ? row : noRow;
}
