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

/// Thrown where a file is not what was expected.
struct BadFile
{
    QString message; ///< "FILE:LINE: WHERE: expected ..., not ..."
};

/// A value of a JSON file that knows where it stands, so that whoever finds it wrong can say so.
/// Every member throws BadFile where the value is not what the member asks for. The file may have
/// comments, as in C++.
///
/// Qt's JSON reader gives positions for errors of syntax only. What it has accepted needs no
/// second parser, just a walk that counts lines, so this is less than another library would cost.
class JsonValue
{
public:
    /// The whole of a file.
    static JsonValue read(const QString &fileName);

    /// An object with all of the keys @p required, and none besides them and @p optional.
    const JsonValue &object(const QStringList &required,
                            const QStringList &optional = QStringList()) const;
    bool has(const char *key) const;
    JsonValue operator[](const char *key) const;

    QList<JsonValue> items(int least, int most) const;
    QString text(int least = 1) const; ///< of so many characters at least
    QString text(const QStringList &choices) const;
    bool boolean() const;
    double number(double least, double most) const;
    int integer(int least, int most) const;
    QVariant any() const; ///< whatever the bus carries: no null, and nothing nested too deep
    bool isText() const { return m_value.isString(); }

    int line() const;
    [[noreturn]] void refuse(const QString &expectation) const;

private:
    struct File
    {
        QString name;
        QHash<QStringList, int> lines; // by their places
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
