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
    QString name; ///< as people call it, "m4"
    QString busName;
    Toolkit::Interface interface;
};

struct Parameter
{
    QString name;
    QByteArray type; ///< as the meta-object names it
};

/// A method of the client class, and where it leads to.
struct Method
{
    /// As in the client's header: "supplyRibbonColorName(QString ribbonSku, [int panel])".
    QString declaration() const;
    /// Its types alone: "supplyRibbonColorName(QString,int)".
    QString signature() const;
    /// The type of its result, as there; empty for none.
    QString result() const;

    QString name;
    QList<Parameter> parameters;
    int required = 0;      ///< so many parameters have no default
    QByteArray resultType; ///< empty for none
    QString summary;
    const Daemon *daemon = nullptr;
};

/// A signal of the client class, and where it comes from.
struct ClientSignal
{
    QString name;
    QStringList parameters; ///< their names
    QString member;         ///< the daemon's signal
    QString signature;      ///< of that one, on the bus
    QString summary;
    const Daemon *daemon = nullptr;
};

struct Property
{
    QString name;
    const Method *method = nullptr; ///< that reads it
};

/// All that the tool knows of the printer's bus: what the meta-objects of the library say, and what
/// the installed descriptions of the daemons' interfaces add to it.
class Contract
{
public:
    /// The methods and properties, from the library alone: without signals, members of interfaces
    /// and summaries. It is many times faster than load(). Null, with the reason, if the tool does
    /// not know something that the library has.
    static std::unique_ptr<Contract> ofLibrary(QString *error);
    /// Everything. Null, with the reason, also if a description is missing or wrong.
    static std::unique_ptr<Contract> load(QString *error);

    const std::vector<Daemon> &daemons() const { return m_daemons; }
    const std::vector<Method> &methods() const { return m_methods; }
    const std::vector<ClientSignal> &clientSignals() const { return m_signals; }
    const std::vector<Property> &properties() const { return m_properties; }

    const Daemon *daemon(const QString &name) const;     ///< null where there is none
    const Property *property(const QString &name) const; ///< null where there is none
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

/// The one object of every daemon.
inline QString objectPath() { return QStringLiteral("/"); }

#endif
