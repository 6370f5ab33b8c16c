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

/// What happens to a daemon, and when.
struct Act
{
    int at = 0;             ///< milliseconds from the start
    QString daemon;         ///< "ioexpd", "m4" or "supplyd"; empty with "say" for all of them
    QString verb;           ///< a method of org.hnipc.Simulator, or "call", "start", "stop", "say"
    QVariantList arguments; ///< of that method, in their D-Bus types; of "call" the name of a
                            ///< method of the daemon's interface; of "say" its line
    int line = 0;           ///< of the file
};

struct Scenario
{
    QString fileName;
    QString name;
    QString about;
    QList<Act> acts; ///< in the order of time
};

/// Reads a scenario, which is a file or the name of one that ships, such as "bad-day". Where it is
/// wrong, nothing is answered, and @p error says so in the form "FILE:LINE: WHERE: expected ...".
std::optional<Scenario> readScenario(const QString &fileName, QString *error);

/// Plays a scenario: asks the simulated daemons on a bus for each act at its time. Starting and
/// stopping daemons, and telling, is for whoever plays it.
class ScenarioPlayer : public QObject
{
    Q_OBJECT

public:
    /// Only the acts of @p daemon, and what is said for all; an empty name for all acts.
    ScenarioPlayer(const Scenario &scenario, const QDBusConnection &bus,
                   const QString &daemon = QString(), QObject *parent = nullptr);

    void start();

Q_SIGNALS:
    void said(const QString &text);
    void startRequested(const QString &daemon, const QString &where); ///< where: "FILE:LINE: "
    void stopRequested(const QString &daemon, const QString &where);
    void failed(const QString &message); ///< "FILE:LINE: ..."; the play goes on
    void finished();                     ///< the last act has been played and answered

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
