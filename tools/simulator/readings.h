// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_READINGS_H
#define HNIPC_SIMULATOR_READINGS_H

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <vector>

/// One reading, switch or setting that a daemon keeps.
struct Reading
{
    const char *name;
    QVariant start;               ///< its type is the type of the reading
    const char *signal = nullptr; ///< the signal of a new value, by the name that clients know
    int unit = 0;                 ///< the first argument of that signal, if it has a unit number
    int spread = 0;               ///< how far a measurement may be above the value that was set
};

/// The state of a simulated part of the printer. A model derives from it and adds the rules.
class Readings : public QObject
{
    Q_OBJECT

public:
    /// A reading is identified by its index in @p table.
    explicit Readings(const std::vector<Reading> &table);

    template <typename T>
    T get(int reading) const
    {
        return m_values.at(static_cast<size_t>(reading)).template value<T>();
    }

    /// Sets a reading and emits its signal.
    bool set(int reading, const QVariant &value);
    /// Does the same if the value differs from that of the reading.
    bool change(int reading, const QVariant &value);
    /// Takes a new measurement. Each is different, but every run has the same sequence.
    bool measure(int reading);
    /// Emits the signal of a reading with its present value.
    bool tell(int reading);

    QStringList names() const;
    int find(const QString &name) const; ///< -1 if no reading has this name
    QVariant value(int reading) const { return m_values.at(static_cast<size_t>(reading)); }
    /// Sets a reading from outside. Returns an error message, empty on success.
    virtual QString setFromOutside(int reading, const QVariant &value);

Q_SIGNALS:
    /// The daemon has to emit its signal @p signal.
    void announced(const QString &signal, const QVariantList &arguments);

protected:
    /// Called when a reading has a new value; models apply their rules here.
    virtual void wasSet(int reading);

private:
    const std::vector<Reading> m_table;
    std::vector<QVariant> m_values;
    std::vector<QVariant> m_origins; // the values that were set, from which measurements differ
    quint64 m_measurements = 0;
};

#endif
