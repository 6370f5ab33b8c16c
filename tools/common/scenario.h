// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_SCENARIO_H
#define HNIPC_TOOLS_COMMON_SCENARIO_H

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>

#include <optional>

namespace Toolkit {

/// One act of a scenario.
struct Act
{
    int at = 0;             ///< milliseconds from the start
    QString daemon;         ///< "ioexpd", "m4" or "supplyd"; may be empty for "say"
    QString verb;           ///< a method of org.hnipc.Simulator, or "call", "start", "stop", "say"
    QVariantList arguments; ///< of that method, in their D-Bus types; for "call" the name of a
                            ///< method of the daemon's interface; for "say" the text
    int line = 0;           ///< in the file
};

struct Scenario
{
    QString fileName;
    QString name;
    QString about;
    QList<Act> acts; ///< sorted by time
};

/// Reads a scenario: a file, or the name of an installed scenario, such as "bad-day". If it is
/// invalid, returns nothing and sets @p error to "FILE:LINE: WHERE: expected ...".
std::optional<Scenario> readScenario(const QString &fileName, QString *error);

/// Plays a scenario: calls the simulated daemons on a bus for each act at its time. The owner of this
/// object starts and stops daemons, and prints texts.
class ScenarioPlayer : public QObject
{
    Q_OBJECT

public:
    /// Plays only the acts of @p daemon and those without a daemon; all acts if @p daemon is empty.
    ScenarioPlayer(const Scenario &scenario, const QDBusConnection &bus,
                   const QString &daemon = QString(), QObject *parent = nullptr);

    void start();

Q_SIGNALS:
    void said(const QString &text);
    void startRequested(const QString &daemon, const QString &where); ///< where: "FILE:LINE: "
    void stopRequested(const QString &daemon, const QString &where);
    void failed(const QString &message); ///< "FILE:LINE: ..."; the scenario continues
    void finished();                     ///< all acts have been played, and all replies received

private:
    void play(const Act &act);
    void ask(const Act &act);
    QString placeOf(const Act &act) const;
    void done();

    const Scenario m_scenario;
    QDBusConnection m_bus;
    const QString m_daemon;
    int m_pending = 0;
};

} // namespace Toolkit

#endif
