// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_CONTRACT_H
#define HNIPC_TOOLS_CTL_CONTRACT_H

#include "common/interfacefile.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <vector>

class QMetaMethod;

struct Daemon
{
    QString name; ///< "m4"
    QString busName;
    Toolkit::Interface interface;
};

struct Parameter
{
    QString name;
    QByteArray type; ///< its name in the meta-object
};

/// A method of the client class, and its daemon.
struct Method
{
    /// As in the client's header: "supplyRibbonColorName(QString ribbonSku, [int panel])".
    QString declaration() const;
    /// Its types alone: "supplyRibbonColorName(QString,int)".
    QString signature() const;
    /// The type of its result, as in the client's header; empty for none.
    QString result() const;

    QString name;
    QList<Parameter> parameters;
    int required = 0;      ///< the number of parameters without a default argument
    QByteArray resultType; ///< empty if it returns nothing
    QString summary;
    const Daemon *daemon = nullptr;
};

/// A signal of the client class, and its daemon.
struct ClientSignal
{
    QString name;
    QStringList parameters; ///< their names
    QString member;         ///< the name of the daemon's signal
    QString signature;      ///< the D-Bus types of its arguments
    QString summary;
    const Daemon *daemon = nullptr;
};

struct Property
{
    QString name;
    const Method *method = nullptr; ///< the method that reads it
};

/// The daemons, methods, signals and properties: from the meta-objects of the library, and from the
/// installed descriptions of the daemons' interfaces.
class Contract
{
public:
    /// Only the methods and properties, from the library: without signals, interface members and
    /// summaries. It is many times faster than load(). Null, with the reason in @p error, if the tool
    /// does not know a method or property of the library.
    static std::unique_ptr<Contract> ofLibrary(QString *error);
    /// Everything. Null, with the reason in @p error, also if a description is missing or invalid.
    static std::unique_ptr<Contract> load(QString *error);

    const std::vector<Daemon> &daemons() const { return m_daemons; }
    const std::vector<Method> &methods() const { return m_methods; }
    const std::vector<ClientSignal> &clientSignals() const { return m_signals; }
    const std::vector<Property> &properties() const { return m_properties; }

    const Daemon *daemon(const QString &name) const;     ///< null if there is none
    const Property *property(const QString &name) const; ///< null if there is none
    QStringList daemonNames() const;
    QStringList methodNames() const; ///< overloads once
    QStringList propertyNames() const;
    QStringList signalNames() const;

private:
    void loadDaemons();
    bool loadMethods(QString *error);
    bool loadProperties(QString *error);
    bool describeDaemons(QString *error);
    bool describeMethods(QString *error);
    void loadSignals();

    std::vector<Daemon> m_daemons;
    std::vector<Method> m_methods;
    std::vector<ClientSignal> m_signals;
    std::vector<Property> m_properties;
};

/// The path of each daemon's object.
inline QString objectPath() { return QStringLiteral("/"); }

#endif
