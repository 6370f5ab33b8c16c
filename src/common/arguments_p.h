// SPDX-License-Identifier: MIT
#ifndef ARGUMENTS_P_H
#define ARGUMENTS_P_H

#include <QtCore/QVariant>

#include <initializer_list>

// One argument of a row, by reference until the call or signal is made. A row that handed over
// variants would have to make and destroy them itself, and there are 189 rows.
class Argument
{
public:
    template <typename T>
    explicit Argument(const T &value) : m_wrap(&wrap<T>), m_value(&value)
    {
    }

    // A variant of the argument's own declared type.
    QVariant wrapped() const { return m_wrap(m_value); }

private:
    template <typename T>
    static QVariant wrap(const void *value)
    {
        return QVariant(*static_cast<const T *>(value));
    }

    QVariant (*m_wrap)(const void *);
    const void *m_value;
};

typedef std::initializer_list<Argument> Arguments;

#endif
