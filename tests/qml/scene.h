// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_QML_SCENE_H
#define HNIPC_TESTS_QML_SCENE_H

#include "support/qmltestmain.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QScopedPointer>
#include <QtCore/QUrl>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlContext>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>
#include <QtTest/QTest>

// One QML document with an engine.
class Scene
{
public:
    explicit Scene(bool hasModule = true)
    {
        if (hasModule) {
            m_engine.addImportPath(QString::fromLatin1(HNIPC_QML_BUILD_DIR));
        }
        m_engine.setOutputWarningsToStandardError(false);
        QObject::connect(&m_engine, &QQmlEngine::warnings, &m_engine,
                         [this](const QList<QQmlError> &warnings) {
                             for (const QQmlError &warning : warnings) {
                                 m_warnings.append(warning.description().toUtf8());
                             }
                         });
    }

    // If the document is not valid, the test ends with the engine's errors.
    QObject *show(const QByteArray &document)
    {
        QQmlComponent component(&m_engine);
        component.setData(document, QUrl(QString::fromLatin1("scene.qml")));
        return show(component);
    }

    QObject *showFile(const char *name)
    {
        QQmlComponent component(
            &m_engine, QUrl::fromLocalFile(QString::fromLatin1(HNIPC_QML_TEST_DIR "/") + name));
        return show(component);
    }

    // The engine's errors about the document.
    QByteArray refusal(const QByteArray &document)
    {
        QQmlComponent component(&m_engine);
        component.setData(document, QUrl(QString::fromLatin1("scene.qml")));
        if (component.isReady()) {
            delete component.create();
        }
        return component.errorString().toUtf8();
    }

    // The value of a JavaScript expression, as JSON: "undefined" for no value, "TypeError: ..." for
    // an error.
    QByteArray js(const QByteArray &expression)
    {
        QQmlExpression evaluation(qmlContext(m_root.data()), m_root.data(),
                                  QString::fromUtf8("JSON.stringify(" + expression + ")"));
        bool isUndefined = false;
        const QVariant value = evaluation.evaluate(&isUndefined);
        if (evaluation.hasError()) {
            return evaluation.error().description().toUtf8();
        }
        return isUndefined ? QByteArray("undefined") : value.toString().toUtf8();
    }

    QObject *root() const { return m_root.data(); }
    QQmlEngine &engine() { return m_engine; }
    QList<QByteArray> warnings() const { return m_warnings; }

private:
    QObject *show(QQmlComponent &component)
    {
        m_root.reset(component.create());
        if (!m_root) {
            qFatal("%s", qPrintable(component.errorString()));
        }
        return m_root.data();
    }

    QList<QByteArray> m_warnings;
    QQmlEngine m_engine;
    QScopedPointer<QObject> m_root;
};

#endif
