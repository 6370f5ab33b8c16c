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
    const char *signal = nullptr; ///< announces it, by the name that clients know
    int unit = 0;                 ///< the first argument of that signal, where it has one
    int spread = 0;               ///< how far a measurement may lie above what was set; 0 stays 0
};

/// What a simulated part of the printer stands at. A model derives from it and adds the rules.
class Readings : public QObject
{
    Q_OBJECT

public:
    /// A reading is known by its place in @p table.
    explicit Readings(const std::vector<Reading> &table);

    template <typename T>
    T get(int reading) const
    {
        return m_values.at(static_cast<size_t>(reading)).template value<T>();
    }

    /// Sets a reading and announces it.
    bool set(int reading, const QVariant &value);
    /// The same, unless it stands there already.
    bool change(int reading, const QVariant &value);
    /// Takes a new measurement, which is another one each time but the same ones in every run.
    bool measure(int reading);
    /// Announces a reading as it stands.
    bool tell(int reading);

    QStringList names() const;
    int find(const QString &name) const; ///< -1 where there is none of that name
    QVariant value(int reading) const { return m_values.at(static_cast<size_t>(reading)); }
    /// Sets a reading from outside, as the world does. Answers what is wrong with it, if anything.
    virtual QString setFromOutside(int reading, const QVariant &value);

Q_SIGNALS:
    /// The daemon is to send its signal @p signal.
    void announced(const QString &signal, const QVariantList &arguments);

protected:
    /// A reading has got a value: the place for the model's rules.
    virtual void wasSet(int reading);

private:
    const std::vector<Reading> m_table;
    std::vector<QVariant> m_values;
    std::vector<QVariant> m_origins; // what measurements lie around
    quint64 m_measurements = 0;
};

#endif
