// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_JSONFILE_H
#define HNIPC_TOOLS_COMMON_JSONFILE_H

#include <QtCore/QHash>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

namespace Toolkit {

/// Thrown for an invalid file.
struct BadFile
{
    QString message; ///< "FILE:LINE: WHERE: expected ..., not ..."
};

/// A value of a JSON file that knows its line, for messages. Every member function throws BadFile
/// if the value is not of the requested kind. The file may have comments, as in C++.
///
/// Qt's JSON reader gives positions for syntax errors only. To find the lines in valid JSON, it is
/// enough to count line ends between the values; another JSON library would cost more.
class JsonValue
{
public:
    /// The root value of a file.
    static JsonValue read(const QString &fileName);

    /// Checks that this is an object with all keys of @p required, and no other keys than these and
    /// those of @p optional.
    const JsonValue &object(const QStringList &required,
                            const QStringList &optional = QStringList()) const;
    bool has(const char *key) const;
    JsonValue operator[](const char *key) const;

    QList<JsonValue> items(int least, int most) const;
    QString text(int least = 1) const; ///< with at least this number of characters
    QString text(const QStringList &choices) const;
    bool boolean() const;
    double number(double least, double most) const;
    int integer(int least, int most) const;
    QVariant any() const; ///< any value that D-Bus can send: without null, and not nested too deep
    bool isText() const { return m_value.isString(); }

    int line() const;
    [[noreturn]] void refuse(const QString &expectation) const;

private:
    struct File
    {
        QString name;
        QHash<QStringList, int> lines; // of each value, by its place
    };

    JsonValue(const std::shared_ptr<const File> &file, const QStringList &place,
              const QJsonValue &value);
    JsonValue child(const QString &key) const;
    void checkAny(int levels) const;

    std::shared_ptr<const File> m_file;
    QStringList m_place; // "supplies", "[3]", "color"
    QJsonValue m_value;
};

} // namespace Toolkit

#endif
