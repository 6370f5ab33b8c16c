// SPDX-License-Identifier: MIT
#include "language.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTranslator>
#include <QtGui/QGuiApplication>

QStringList languages()
{
    return { QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("fr") };
}

void speak(const QLocale &locale)
{
    QLocale::setDefault(locale);
    // English has a file, too, for plural forms.
    const QString code = locale.name().section(QLatin1Char('_'), 0, 0);
    const QString spoken = languages().contains(code) ? code : languages().constFirst();
    static QTranslator translator;
    if (translator.load(QStringLiteral(":/HNIPC/Panel/panel_%1.qm").arg(spoken))) {
        QCoreApplication::installTranslator(&translator);
    }
    QGuiApplication::setLayoutDirection(spoken == code ? locale.textDirection() : Qt::LeftToRight);
}
