// SPDX-License-Identifier: MIT
#include "contract.h"

#include "common/datafiles.h"
#include "values.h"

#include <hnipc/hnipc.h>
#include <hnipc/ihnipcioexpd.h>
#include <hnipc/ihnipcm4.h>
#include <hnipc/ihnipcsupplyd.h>

#include <QtCore/QMetaClassInfo>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>
#include <QtCore/QRegularExpression>

using namespace Toolkit;

namespace {

// The one thing that no meta-object tells: which method reads a property.
const struct { const char *property; const char *method; } readers[] = {
    { "qmlSupplyPercent", "supplySupplyPercent" },
    { "qmlSupplyColorRGB", "supplySupplyRGB" },
    { "qmlRibbonPercent", "supplyRibbon1Percent" },
    { "qmlRibbonColorRGBs", "supplyRibbon1RGBs" },
    { "qmlSupplySKU", "supplySKUCached" },
    { "qmlPrintEngineErrorCode", "getError" },
    { "qmlPrintEngineAlertCode", "getAlert" },
    { "qmlBatteryStatus", "getBatteryStatus" },
};

// The named element of a list, null where there is none.
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

QString wirePrefix(const Daemon &daemon)
{
    return daemon.name.toUpper() + QLatin1Char('_');
}

// A daemon's own names of its signals become those that its clients know, which "monitor" prints.
void nameSignalsAsClients(Daemon *daemon)
{
    for (const InterfaceMember &signal : daemon->interface.members(InterfaceMember::Signal)) {
        const QRegularExpression word(QLatin1String("\\b") + signal.name + QLatin1String("\\b"));
        const QString clientName = signal.name.mid(wirePrefix(*daemon).size());
        for (InterfaceMember &member : daemon->interface.allMembers) {
            member.documentation.replace(word, clientName);
        }
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

QString Method::result() const
{
    return shownType(resultType);
}

std::unique_ptr<Contract> Contract::load(QString *error)
{
    std::unique_ptr<Contract> result(new Contract);
    if (!result->loadDaemons(error) || !result->loadMembers(error)
        || !result->loadProperties(error)) {
        return nullptr;
    }
    return result;
}

const Daemon *Contract::daemon(const QString &name) const
{
    return named(m_daemons, name);
}

const Property *Contract::property(const QString &name) const
{
    return named(m_properties, name);
}

QStringList Contract::daemonNames() const
{
    return namesOf(m_daemons);
}

QStringList Contract::methodNames() const
{
    return namesOf(m_methods);
}

QStringList Contract::propertyNames() const
{
    return namesOf(m_properties);
}

QStringList Contract::signalNames() const
{
    return namesOf(m_signals);
}

bool Contract::loadDaemons(QString *error)
{
    for (const QMetaObject *server : { &IHNIPCIOEXPD::staticMetaObject,
                                       &IHNIPCM4::staticMetaObject,
                                       &IHNIPCSUPPLYD::staticMetaObject }) {
        const QString interface = QLatin1String(
            server->classInfo(server->indexOfClassInfo("D-Bus Interface")).value());
        const QString file = interfaceFile(interface);
        if (file.isEmpty()) {
            *error = QStringLiteral("the description of %1 is not installed").arg(interface);
            return false;
        }
        std::optional<Interface> description = readInterfaceFile(file, error);
        if (!description) {
            return false;
        }
        const QString name = interface.mid(int(qstrlen("local.IHNIPC"))).toLower();
        m_daemons.push_back({ name, QLatin1String("org.hnipc.") + name, *description });
        nameSignalsAsClients(&m_daemons.back());
    }
    return true;
}

bool Contract::loadMembers(QString *error)
{
    const QMetaObject &client = HNIPC::staticMetaObject;
    for (int i = client.methodOffset(); i < client.methodCount(); ++i) {
        const QMetaMethod member = client.method(i);
        if (member.attributes() & QMetaMethod::Cloned) {
            // The full form, which is the one on the bus, stands before its shortened ones.
            m_methods.back().required = member.parameterCount();
        } else if (member.methodType() == QMetaMethod::Signal) {
            addSignal(member);
        } else if (!addMethod(member)) {
            *error = QStringLiteral("no installed description has the method %1 of this library")
                         .arg(QString::fromLatin1(member.methodSignature()));
            return false;
        }
    }
    return true;
}

// A signal that no daemon sends is the application's own.
void Contract::addSignal(const QMetaMethod &member)
{
    const QString name = QString::fromLatin1(member.name());
    QStringList parameters;
    for (const QByteArray &parameter : member.parameterNames()) {
        parameters += QString::fromLatin1(parameter);
    }
    for (const Daemon &daemon : m_daemons) {
        for (const InterfaceMember &signal : daemon.interface.members(InterfaceMember::Signal)) {
            if (signal.name == wirePrefix(daemon) + name) {
                m_signals.push_back({ name, parameters, signal.name,
                                      signal.signature(InterfaceArgument::Out),
                                      signal.documentation, &daemon });
            }
        }
    }
}

bool Contract::addMethod(const QMetaMethod &member)
{
    const QString name = QString::fromLatin1(member.name());
    const QList<Parameter> parameters = parametersOf(member);
    const QString wire = wireSignature(parameters);
    const QByteArray result = member.typeName();
    for (const Daemon &daemon : m_daemons) {
        for (const InterfaceMember &method : daemon.interface.members(InterfaceMember::Method)) {
            if (method.name == name && method.signature(InterfaceArgument::In) == wire) {
                m_methods.push_back({ name, parameters, member.parameterCount(),
                                      result == "void" ? QByteArray() : result,
                                      method.documentation, &daemon });
                return true;
            }
        }
    }
    return false;
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
            *error = QStringLiteral("this library's property %1 is unknown here").arg(name);
            return false;
        }
        m_properties.push_back({ name, reader });
    }
    return true;
}
