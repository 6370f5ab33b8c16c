// SPDX-License-Identifier: MIT
#include "metricstext.h"

#include "console.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

namespace {

const int longestText = 200; // characters of a string that a daemon replies

// A family of metrics. The type is null for one that the two formats write in different ways: without
// a type, both accept it.
struct Family
{
    const char *name;
    const char *type;
    const char *unit; // null if it has none
    const char *help;
};

const char gauge[] = "gauge";

// The order of the output, which follows this table.
// clang-format off
const Family families[] = {
    { "hnipc_printer_reached", gauge, nullptr, "1 if the system bus of the printer replied within the timeout, otherwise 0" },
    { "hnipc_metrics_timestamp_seconds", gauge, "seconds", "The time at which these metrics of the printer were read" },
    { "hnipc_daemon_present", gauge, nullptr, "1 if the daemon owns its bus name, otherwise 0" },
    { "hnipc_daemon_simulated", gauge, nullptr, "1 if the daemon is a simulated one or a stand-in of a replay, otherwise 0" },
    { "hnipc_daemon_replied", gauge, nullptr, "1 if the daemon replied to Introspect within the timeout, otherwise 0" },
    { "hnipc_daemon_call_seconds", gauge, "seconds", "The time from the call of Introspect until the daemon's reply" },
    { "hnipc_daemon_restarts_total", nullptr, nullptr, "How often the daemon was found with another bus connection than when it was seen last" },
    { "hnipc_daemon_connection_info", gauge, nullptr, "The bus and the unique name with which the daemon was seen last" },
    { "hnipc_property_known", gauge, nullptr, "1 if the value of the property was read, otherwise 0" },
    { "hnipc_property_read_seconds", gauge, "seconds", "The time from the call that reads the property until its reply" },
    { "hnipc_supply_percent", gauge, "percent", "How much of the supply is left: qmlSupplyPercent" },
    { "hnipc_ribbon_percent", gauge, "percent", "How much of ribbon 1 is left: qmlRibbonPercent" },
    { "hnipc_print_engine_error_code", gauge, nullptr, "The error code, defined by the daemon: qmlPrintEngineErrorCode" },
    { "hnipc_print_engine_alert_code", gauge, nullptr, "The alert code, defined by the daemon: qmlPrintEngineAlertCode" },
    { "hnipc_battery_status", gauge, nullptr, "The battery status, a code defined by the daemon: qmlBatteryStatus" },
    { "hnipc_supply_sku_info", gauge, nullptr, "The SKU of the loaded supply: qmlSupplySKU" },
    { "hnipc_supply_color_info", gauge, nullptr, "The colour of the loaded supply: qmlSupplyColorRGB" },
    { "hnipc_ribbon_colors_info", gauge, nullptr, "The colours of ribbon 1, separated by commas: qmlRibbonColorRGBs" },
};

// The metric of each property.
const struct PropertyMetric
{
    const char *property;
    const char *family;
    const char *label; // for a string or a list, which is the value of this label; null for a number
} propertyMetrics[] = {
    { "qmlSupplyPercent", "hnipc_supply_percent", nullptr },
    { "qmlSupplyColorRGB", "hnipc_supply_color_info", "color" },
    { "qmlRibbonPercent", "hnipc_ribbon_percent", nullptr },
    { "qmlRibbonColorRGBs", "hnipc_ribbon_colors_info", "colors" },
    { "qmlSupplySKU", "hnipc_supply_sku_info", "sku" },
    { "qmlPrintEngineErrorCode", "hnipc_print_engine_error_code", nullptr },
    { "qmlPrintEngineAlertCode", "hnipc_print_engine_alert_code", nullptr },
    { "qmlBatteryStatus", "hnipc_battery_status", nullptr },
};
// clang-format on

const PropertyMetric *metricOf(const QString &property)
{
    for (const PropertyMetric &metric : propertyMetrics) {
        if (property == QLatin1String(metric.property)) {
            return &metric;
        }
    }
    return nullptr;
}

using Labels = QList<QPair<QString, QString>>;

// {daemon="m4"}
QByteArray labelsText(const Labels &labels)
{
    QStringList texts;
    for (const auto &label : labels) {
        // The name of a printer may have a backslash or a quote.
        const QString value = QString(label.second)
                                  .replace(QLatin1Char('\\'), QLatin1String("\\\\"))
                                  .replace(QLatin1Char('"'), QLatin1String("\\\""));
        texts += QStringLiteral("%1=\"%2\"").arg(label.first, value);
    }
    return texts.isEmpty() ? QByteArray() : '{' + texts.join(QLatin1Char(',')).toUtf8() + '}';
}

QByteArray number(const QJsonValue &value)
{
    // Real numbers that JSON cannot represent are strings; see jsonOf().
    if (value.isString()) {
        const QString text = value.toString();
        return text == QLatin1String("nan") ? "NaN"
            : text == QLatin1String("inf")  ? "+Inf"
            : text == QLatin1String("-inf") ? "-Inf"
                                            : text.toUtf8();
    }
    return QByteArray::number(value.toDouble(), 'g', QLocale::FloatingPointShortest);
}

// A string of a daemon, for a label: without invisible characters, and not longer than a dashboard
// shows.
QString labelOf(const QJsonValue &value)
{
    QStringList texts;
    const QJsonArray list = value.isArray() ? value.toArray() : QJsonArray { value };
    for (const QJsonValue &each : list) {
        texts += each.toString();
    }
    return Console::printable(texts.join(QLatin1Char(',')).left(longestText));
}

QByteArray seconds(const QJsonValue &milliseconds, int digits)
{
    return QByteArray::number(milliseconds.toDouble() / 1000, 'f', digits);
}

class Writer
{
public:
    Writer(const std::optional<EarlierMetrics> &earlier) : m_earlier(earlier) {}

    void add(const FleetAnswer &answer)
    {
        m_printer.clear();
        if (!answer.host.isEmpty()) {
            m_printer += { QStringLiteral("printer"), answer.host };
        }
        const QJsonObject result = answer.result.toObject();
        const bool isReached = !answer.result.isUndefined();
        sample("hnipc_printer_reached", {}, number(isReached));
        sample("hnipc_metrics_timestamp_seconds", {}, seconds(double(answer.time), 3));
        for (const QJsonValue &daemon : result.value(QLatin1String("daemons")).toArray()) {
            addDaemon(daemon.toObject());
        }
        for (const char *name : { "ioexpd", "m4", "supplyd" }) {
            addRestarts(answer.host, QLatin1String(name), result);
        }
    }

    QByteArray text() const
    {
        QByteArray result;
        for (const Family &family : families) {
            const QByteArray samples = m_samples.value(family.name);
            const auto line = [&](const char *keyword, const char *value) {
                if (value) {
                    result += QByteArray("# ") + keyword + ' ' + family.name + ' ' + value + '\n';
                }
            };
            if (!samples.isEmpty()) {
                line("HELP", family.help);
                line("TYPE", family.type);
                line("UNIT", family.unit);
                result += samples;
            }
        }
        return result + "# EOF\n";
    }

private:
    static QByteArray number(bool isTrue) { return isTrue ? "1" : "0"; }

    void sample(const char *family, const Labels &labels, const QByteArray &value)
    {
        m_samples[family] += family + labelsText(m_printer + labels) + ' ' + value + '\n';
    }

    void addDaemon(const QJsonObject &daemon)
    {
        const Labels labels { { QStringLiteral("daemon"),
                                daemon.value(QLatin1String("name")).toString() } };
        const QJsonValue duration = daemon.value(QLatin1String("duration"));
        sample("hnipc_daemon_present", labels,
               number(daemon.value(QLatin1String("present")).toBool()));
        sample("hnipc_daemon_simulated", labels,
               number(daemon.contains(QLatin1String("simulated"))
                      || daemon.contains(QLatin1String("standIn"))));
        sample("hnipc_daemon_replied", labels, number(!duration.isUndefined()));
        if (!duration.isUndefined()) {
            sample("hnipc_daemon_call_seconds", labels, seconds(duration, 6));
        }
        const QJsonObject properties = daemon.value(QLatin1String("properties")).toObject();
        for (auto property = properties.begin(); property != properties.end(); ++property) {
            addProperty(labels, property.key(), property.value().toObject());
        }
    }

    void addProperty(const Labels &daemon, const QString &name, const QJsonObject &outcome)
    {
        const QJsonValue value = outcome.value(QLatin1String("value"));
        const PropertyMetric *metric = metricOf(name);
        const Labels labels = daemon + Labels { { QStringLiteral("property"), name } };
        sample("hnipc_property_known", labels, number(!value.isUndefined()));
        if (!value.isUndefined()) {
            sample("hnipc_property_read_seconds", labels,
                   seconds(outcome.value(QLatin1String("elapsed")), 3));
        }
        if (!value.isUndefined() && metric && metric->label) {
            sample(metric->family, { { QLatin1String(metric->label), labelOf(value) } }, "1");
        } else if (!value.isUndefined() && metric) {
            sample(metric->family, {}, ::number(value));
        }
    }

    // A daemon that is not running now, or whose printer was not reached, keeps its state: it may be
    // found with another connection later.
    void addRestarts(const QString &printer, const QString &name, const QJsonObject &result)
    {
        if (!m_earlier) {
            return;
        }
        EarlierMetrics::Daemon state = m_earlier->daemon(printer, name);
        for (const QJsonValue &value : result.value(QLatin1String("daemons")).toArray()) {
            const QJsonObject daemon = value.toObject();
            // Both strings come from the printer, and are compared with labels of the earlier file.
            const QString owner = labelOf(daemon.value(QLatin1String("owner")));
            if (daemon.value(QLatin1String("name")).toString() == name && !owner.isEmpty()) {
                const QString bus = labelOf(result.value(QLatin1String("bus")));
                const bool isOther = owner != state.owner || bus != state.bus;
                state.restarts += !state.owner.isEmpty() && isOther ? 1 : 0;
                state.owner = owner;
                state.bus = bus;
            }
        }
        if (state.owner.isEmpty()) {
            return;
        }
        const Labels labels { { QStringLiteral("daemon"), name } };
        sample("hnipc_daemon_restarts_total", labels, QByteArray::number(state.restarts));
        sample("hnipc_daemon_connection_info",
               labels
                   + Labels { { QStringLiteral("bus"), state.bus },
                              { QStringLiteral("owner"), state.owner } },
               "1");
    }

    const std::optional<EarlierMetrics> &m_earlier;
    Labels m_printer;
    QMap<QByteArray, QByteArray> m_samples; // by the family
};

} // namespace

bool EarlierMetrics::isMetrics(const QByteArray &text)
{
    return text.isEmpty() || text.startsWith(QByteArray("# HELP ") + families[0].name + ' ');
}

EarlierMetrics::EarlierMetrics(const QByteArray &text)
{
    static const QRegularExpression sample(QStringLiteral("^(\\w+)\\{(.*)\\} (\\d+)$"),
                                           QRegularExpression::MultilineOption);
    static const QRegularExpression label(QStringLiteral("(\\w+)=\"((?:[^\"\\\\]|\\\\.)*)\""));
    auto samples = sample.globalMatch(QString::fromUtf8(text));
    while (samples.hasNext()) {
        const QRegularExpressionMatch match = samples.next();
        const bool isCount = match.captured(1) == QLatin1String("hnipc_daemon_restarts_total");
        if (!isCount && match.captured(1) != QLatin1String("hnipc_daemon_connection_info")) {
            continue;
        }
        QMap<QString, QString> labels;
        auto all = label.globalMatch(match.captured(2));
        while (all.hasNext()) {
            const QRegularExpressionMatch each = all.next();
            static const QRegularExpression escape(QStringLiteral("\\\\(.)"));
            labels[each.captured(1)] = each.captured(2).replace(escape, QStringLiteral("\\1"));
        }
        Daemon &daemon = m_daemons[{ labels.value(QStringLiteral("printer")),
                                     labels.value(QStringLiteral("daemon")) }];
        if (isCount) {
            daemon.restarts = match.captured(3).toULongLong();
        } else {
            daemon.bus = labels.value(QStringLiteral("bus"));
            daemon.owner = labels.value(QStringLiteral("owner"));
        }
    }
}

EarlierMetrics::Daemon EarlierMetrics::daemon(const QString &printer, const QString &name) const
{
    return m_daemons.value({ printer, name });
}

QByteArray metricsText(const std::vector<FleetAnswer> &answers,
                       const std::optional<EarlierMetrics> &earlier)
{
    Writer writer(earlier);
    for (const FleetAnswer &answer : answers) {
        writer.add(answer);
    }
    return writer.text();
}
