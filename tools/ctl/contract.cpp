// SPDX-License-Identifier: MIT
#include "contract.h"

#include "common/datafiles.h"
#include "values.h"

#include <hnipc/hnipc.h>
#include <hnipc/ihnipcioexpd.h>
#include <hnipc/ihnipcm4.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtCore/QHash>
#include <QtCore/QMetaClassInfo>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
#include <QtCore/QRegularExpression>

using namespace Toolkit;

namespace {

// The method that reads each property. No meta-object has this.
const struct
{
    const char *property;
    const char *method;
} readers[] = {
    { "qmlSupplyPercent", "supplySupplyPercent" },  { "qmlSupplyColorRGB", "supplySupplyRGB" },
    { "qmlRibbonPercent", "supplyRibbon1Percent" }, { "qmlRibbonColorRGBs", "supplyRibbon1RGBs" },
    { "qmlSupplySKU", "supplySKUCached" },          { "qmlPrintEngineErrorCode", "getError" },
    { "qmlPrintEngineAlertCode", "getAlert" },      { "qmlBatteryStatus", "getBatteryStatus" },
};

const QMetaObject *const servers[] = { &IHNIPCIOEXPD::staticMetaObject, &IHNIPCM4::staticMetaObject,
                                       &IHNIPCSUPPLYD::staticMetaObject };

// The element with this name; null if there is none.
template <typename List>
auto named(const List &list, const QString &name) -> const typename List::value_type *
{
    for (const auto &element : list) {
        if (element.name == name) {
            return &element;
        }
    }
    return nullptr;
}

template <typename List>
QStringList namesOf(const List &list)
{
    QStringList result;
    for (const auto &element : list) {
        if (!result.contains(element.name)) {
            result += element.name;
        }
    }
    return result;
}

QList<Parameter> parametersOf(const QMetaMethod &method)
{
    const QList<QByteArray> names = method.parameterNames();
    const QList<QByteArray> types = method.parameterTypes();
    QList<Parameter> result;
    for (int i = 0; i < names.size(); ++i) {
        result += { QString::fromLatin1(names.at(i)), types.at(i) };
    }
    return result;
}

QString wireSignature(const QList<Parameter> &parameters)
{
    QString result;
    for (const Parameter &parameter : parameters) {
        const ArgumentType *type = argumentType(parameter.type);
        result += QLatin1String(type ? type->wire : "?");
    }
    return result;
}

// Identifies an overload of a method or signal.
QString keyOf(const QString &name, const QString &signature)
{
    return name + QLatin1Char(' ') + signature;
}

QString wirePrefix(const Daemon &daemon) { return daemon.name.toUpper() + QLatin1Char('_'); }

// Replaces a daemon's own signal names by the names that clients know, which "monitor" prints.
void nameSignalsAsClients(Daemon *daemon)
{
    const QString prefix = wirePrefix(*daemon);
    QStringList names;
    for (const InterfaceMember &signal : daemon->interface.members(InterfaceMember::Signal)) {
        names += signal.name.mid(prefix.size());
    }
    const QRegularExpression prefixOfSignal(QLatin1String("\\b") + prefix + QLatin1String("(?=(?:")
                                            + names.join(QLatin1Char('|'))
                                            + QLatin1String(")\\b)"));
    for (InterfaceMember &member : daemon->interface.allMembers) {
        member.documentation.remove(prefixOfSignal);
    }
}

} // namespace

QString Method::declaration() const
{
    QStringList list;
    for (int i = 0; i < parameters.size(); ++i) {
        const QString text = shownType(parameters.at(i).type) + QLatin1Char(' ')
            + parameters.at(i).name;
        list += i < required ? text : QLatin1Char('[') + text + QLatin1Char(']');
    }
    return name + QLatin1Char('(') + list.join(QLatin1String(", ")) + QLatin1Char(')');
}

QString Method::signature() const
{
    QStringList types;
    for (const Parameter &parameter : parameters) {
        types += shownType(parameter.type);
    }
    return name + QLatin1Char('(') + types.join(QLatin1Char(',')) + QLatin1Char(')');
}

QString Method::result() const { return shownType(resultType); }

std::unique_ptr<Contract> Contract::ofLibrary(QString *error)
{
    std::unique_ptr<Contract> result(new Contract);
    result->loadDaemons();
    return result->loadMethods(error) && result->loadProperties(error) ? std::move(result)
                                                                       : nullptr;
}

std::unique_ptr<Contract> Contract::load(QString *error)
{
    std::unique_ptr<Contract> result = ofLibrary(error);
    if (!result || !result->describeDaemons(error) || !result->describeMethods(error)) {
        return nullptr;
    }
    result->loadSignals();
    return result;
}

const Daemon *Contract::daemon(const QString &name) const { return named(m_daemons, name); }

const Property *Contract::property(const QString &name) const { return named(m_properties, name); }

QStringList Contract::daemonNames() const { return namesOf(m_daemons); }

QStringList Contract::methodNames() const { return namesOf(m_methods); }

QStringList Contract::propertyNames() const { return namesOf(m_properties); }

QStringList Contract::signalNames() const { return namesOf(m_signals); }

void Contract::loadDaemons()
{
    for (const QMetaObject *server : servers) {
        Daemon daemon;
        daemon.interface.name = QLatin1String(
            server->classInfo(server->indexOfClassInfo("D-Bus Interface")).value());
        daemon.name = daemon.interface.name.mid(int(qstrlen("local.IHNIPC"))).toLower();
        daemon.busName = QLatin1String("org.hnipc.") + daemon.name;
        m_daemons.push_back(daemon);
    }
}

bool Contract::loadMethods(QString *error)
{
    QHash<QString, const Daemon *> owners;
    for (size_t i = 0; i < m_daemons.size(); ++i) {
        const QMetaObject *server = servers[i];
        for (int n = server->methodOffset(); n < server->methodCount(); ++n) {
            const QMetaMethod method = server->method(n);
            owners.insert(
                keyOf(QString::fromLatin1(method.name()), wireSignature(parametersOf(method))),
                &m_daemons[i]);
        }
    }
    const QMetaObject &client = HNIPC::staticMetaObject;
    for (int i = client.methodOffset(); i < client.methodCount(); ++i) {
        const QMetaMethod member = client.method(i);
        if (member.methodType() == QMetaMethod::Signal) {
            continue;
        }
        if (member.attributes() & QMetaMethod::Cloned) {
            // moc lists the full parameter list first, then a clone for each default argument.
            m_methods.back().required = member.parameterCount();
            continue;
        }
        const QString name = QString::fromLatin1(member.name());
        const QList<Parameter> parameters = parametersOf(member);
        const QByteArray result = member.typeName();
        const Daemon *daemon = owners.value(keyOf(name, wireSignature(parameters)));
        if (!daemon) {
            *error = QStringLiteral("no daemon of this library has the method %1")
                         .arg(QString::fromLatin1(member.methodSignature()));
            return false;
        }
        m_methods.push_back({ name, parameters, int(parameters.size()),
                              result == "void" ? QByteArray() : result, QString(), daemon });
    }
    return true;
}

bool Contract::describeDaemons(QString *error)
{
    for (Daemon &daemon : m_daemons) {
        const QString name = daemon.interface.name;
        const QString file = interfaceFile(name);
        if (file.isEmpty()) {
            *error = QStringLiteral("the description of %1 is not installed").arg(name);
            return false;
        }
        std::optional<Interface> description = readInterfaceFile(file, error);
        if (!description) {
            return false;
        }
        daemon.interface = *description;
        nameSignalsAsClients(&daemon);
    }
    return true;
}

bool Contract::describeMethods(QString *error)
{
    QHash<QString, QString> summaries;
    for (const Daemon &daemon : m_daemons) {
        for (const InterfaceMember &method : daemon.interface.allMembers) {
            if (method.kind == InterfaceMember::Method) {
                summaries.insert(daemon.name
                                     + keyOf(method.name, method.signature(InterfaceArgument::In)),
                                 method.documentation);
            }
        }
    }
    for (Method &method : m_methods) {
        method.summary = summaries.value(method.daemon->name
                                         + keyOf(method.name, wireSignature(method.parameters)));
        if (method.summary.isEmpty()) {
            *error = QStringLiteral("no installed description has the method %1 of this library")
                         .arg(method.signature());
            return false;
        }
    }
    return true;
}

// A signal of the client class that no daemon sends is for applications only, and is left out.
void Contract::loadSignals()
{
    const QMetaObject &client = HNIPC::staticMetaObject;
    for (int i = client.methodOffset(); i < client.methodCount(); ++i) {
        const QMetaMethod member = client.method(i);
        if (member.methodType() != QMetaMethod::Signal
            || (member.attributes() & QMetaMethod::Cloned)) {
            continue;
        }
        const QString name = QString::fromLatin1(member.name());
        QStringList parameters;
        for (const QByteArray &parameter : member.parameterNames()) {
            parameters += QString::fromLatin1(parameter);
        }
        for (const Daemon &daemon : m_daemons) {
            const QString wireName = wirePrefix(daemon) + name;
            for (const InterfaceMember &signal : daemon.interface.allMembers) {
                if (signal.kind == InterfaceMember::Signal && signal.name == wireName) {
                    m_signals.push_back({ name, parameters, signal.name,
                                          signal.signature(InterfaceArgument::Out),
                                          signal.documentation, &daemon });
                }
            }
        }
    }
}

bool Contract::loadProperties(QString *error)
{
    const QMetaObject &client = HNIPC::staticMetaObject;
    for (int i = client.propertyOffset(); i < client.propertyCount(); ++i) {
        const QString name = QLatin1String(client.property(i).name());
        const Method *reader = nullptr;
        for (const auto &row : readers) {
            if (name == QLatin1String(row.property)) {
                reader = named(m_methods, QLatin1String(row.method));
            }
        }
        if (!reader) {
            *error = QStringLiteral("hnipcctl does not know the library's property %1").arg(name);
            return false;
        }
        m_properties.push_back({ name, reader });
    }
    return true;
}
