// SPDX-License-Identifier: MIT
#include "Metrics.h"

#include "Failure.h"
#include "shared/RegistrationState.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>

namespace {

constexpr int kKnownEvents[] = {DEVSRV_EVENT_CARD_CHANGED,   ZEPA_EVENT_DEV_DEVICE_INIT_FINISH,
                                DEVSRV_EVENT_SIM_CHANGED,    DEVSRV_EVENT_DEVICE_REMOVED,
                                DEVSRV_EVENT_DEVICE_ENABLED, DEVSRV_EVENT_DEVICE_LOST,
                                DEVSRV_EVENT_NETWORK_CHANGED};

QString numeral(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

/// Collects the samples of one family.
class Samples
{
public:
    explicit Samples(const char *family) : m_family(family) {}

    /// An empty value adds no sample.
    void add(const QString &value, const char *suffix = "") { addSample(suffix, {}, value); }
    void add(const char *label, QString labelValue, const QString &value, const char *suffix = "")
    {
        labelValue.replace(u'\\', QStringLiteral("\\\\"))
            .replace(u'"', QStringLiteral("\\\""))
            .replace(u'\n', QStringLiteral("\\n"));
        addSample(suffix, QStringLiteral("{%1=\"%2\"}").arg(QLatin1String(label), labelValue),
                  value);
    }

    /// Adds a sample whose value is in its label, unless that is empty.
    void addInfo(const char *label, const QString &labelValue)
    {
        if (!labelValue.isEmpty())
            add(label, labelValue, QStringLiteral("1"));
    }

    QString text() const { return m_text; }

private:
    void addSample(const char *suffix, const QString &labels, const QString &value)
    {
        if (!value.isEmpty()) {
            m_text += QLatin1String(m_family) + QLatin1String(suffix) + labels + QLatin1Char(' ')
                + value + QLatin1Char('\n');
        }
    }

    const char *const m_family;
    QString m_text;
};

struct Family
{
    const char *name;
    const char *type;
    const char *help;
    void (*addSamples)(const Metrics &metrics, Samples &samples);
};

void addDurations(const Metrics &metrics, Samples &samples)
{
    for (std::size_t index = 0; index < Metrics::kBucketsS.size(); ++index) {
        QString bound = numeral(Metrics::kBucketsS.at(index));
        if (!bound.contains(u'.'))
            bound += QStringLiteral(".0");
        samples.add("le", bound, QString::number(metrics.durations.at(index)), "_bucket");
    }
    samples.add("le", QStringLiteral("+Inf"), QString::number(metrics.reports), "_bucket");
    samples.add(numeral(metrics.durationSumS), "_sum");
    samples.add(QString::number(metrics.reports), "_count");
}

QString flag(bool value)
{
    return QString::number(int{value});
}

constexpr Family kFamilies[] = {
    {"kestrun_build_info", "gauge", "The version of kestrun.",
     [](const Metrics &, Samples &samples) {
         samples.addInfo("version", QStringLiteral(KESTRUN_VERSION));
     }},
    {"kestrun_last_update_timestamp_seconds", "gauge",
     "When these metrics were written, in seconds since 1970.",
     [](const Metrics &, Samples &samples) {
         const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
         samples.add(QString::number(static_cast<double>(nowMs) / 1000, 'f', 3));
     }},
    {"kestrun_card_present", "gauge", "Whether the card answers.",
     [](const Metrics &metrics, Samples &samples) {
         samples.add(flag(valueOf(metrics.card, QStringLiteral("Card/Present")) == u"true"));
     }},
    {"kestrun_card_ready", "gauge", "Whether the card is ready for use.",
     [](const Metrics &metrics, Samples &samples) {
         samples.add(flag(valueOf(metrics.card, QStringLiteral("Card/Status"))
                          == QString::number(DEVSRV_STATUS_READY)));
     }},
    {"kestrun_card_info", "gauge", "The identity of the card.",
     [](const Metrics &metrics, Samples &samples) {
         if (metrics.withImei)
             samples.addInfo("imei", valueOf(metrics.card, QStringLiteral("Identity/IMEI")));
     }},
    {"kestrun_sim_lock_state", "gauge", "The SIM lock; 0 is not locked.",
     [](const Metrics &metrics, Samples &samples) {
         samples.add(valueOf(metrics.card, QStringLiteral("Lock/State")));
     }},
    {"kestrun_registration_state", "gauge",
     "The registration as in AT+CREG; 1 is at home, 5 is roaming.",
     [](const Metrics &metrics, Samples &samples) {
         samples.add("domain", QStringLiteral("cs"),
                     valueOf(metrics.card, QStringLiteral("CS/State")));
         samples.add("domain", QStringLiteral("ps"),
                     valueOf(metrics.card, QStringLiteral("PS/State")));
     }},
    {"kestrun_registered", "gauge", "Whether the card is registered in a network.",
     [](const Metrics &metrics, Samples &samples) {
         const QStringList states{valueOf(metrics.card, QStringLiteral("CS/State")),
                                  valueOf(metrics.card, QStringLiteral("PS/State"))};
         const auto isRegistered = [](const QString &state) {
             return shared::isRegistered(state.toInt());
         };
         if (!states.join(QString()).isEmpty())
             samples.add(flag(std::any_of(states.begin(), states.end(), isRegistered)));
     }},
    {"kestrun_access_technology_info", "gauge", "The access technology in the report.",
     [](const Metrics &metrics, Samples &samples) {
         samples.addInfo("name",
                         valueOf(metrics.report, QStringLiteral("Client/Command/Network/AcT")));
     }},
    {"kestrun_network_info", "gauge", "The operator's PLMN in the report.",
     [](const Metrics &metrics, Samples &samples) {
         samples.addInfo("plmn",
                         valueOf(metrics.report, QStringLiteral("Client/Command/Network/PLMN")));
     }},
    {"kestrun_report_duration_seconds", "histogram",
     "How long the plug-in took to collect and write a report.", addDurations},
    {"kestrun_reports", "counter", "The reports that were written.",
     [](const Metrics &metrics, Samples &samples) {
         samples.add(QString::number(metrics.reports), "_total");
     }},
    {"kestrun_report_failures", "counter", "The reports that could not be written.",
     [](const Metrics &metrics, Samples &samples) {
         for (auto entry = metrics.failures.begin(); entry != metrics.failures.end(); ++entry)
             samples.add("reason", entry.key(), QString::number(entry.value()), "_total");
     }},
    {"kestrun_events", "counter", "The events of the device service.",
     [](const Metrics &metrics, Samples &samples) {
         for (auto entry = metrics.events.begin(); entry != metrics.events.end(); ++entry) {
             samples.add("event", QString::number(entry.key()), QString::number(entry.value()),
                         "_total");
         }
     }},
};

} // namespace

// A counter that begins at 0 shows its first increase.
Metrics::Metrics(const QString &labels) : withImei(labels == u"imei")
{
    if (!labels.isEmpty() && !withImei) {
        failUsage(QStringLiteral("there is no label \"%1\" for metrics; the only one is imei")
                      .arg(labels));
    }
    for (const int event : kKnownEvents)
        events[event] = 0;
    for (const char *const code : kObstacleCodes)
        failures[QLatin1String(code)] = 0;
}

void Metrics::add(const HandledEvent &event)
{
    takeCard(event.card, event.arrivedUs);
    if (event.event != 0)
        ++events[event.event];
    if (!event.failure.isEmpty())
        ++failures[event.failure];
    if (!event.report)
        return;
    report = *event.report;
    ++reports;
    const double seconds = static_cast<double>(event.durationUs) / 1e6;
    durationSumS += seconds;
    for (std::size_t index = 0; index < kBucketsS.size(); ++index) {
        if (seconds <= kBucketsS.at(index))
            ++durations.at(index);
    }
}

// An event on one thread may end before an earlier one on another thread.
void Metrics::takeCard(const CardFields &fields, qint64 timeUs)
{
    if (timeUs >= cardUs) {
        card = fields;
        cardUs = timeUs;
    }
}

QByteArray Metrics::text() const
{
    QString text;
    for (const Family &family : kFamilies) {
        Samples samples(family.name);
        family.addSamples(*this, samples);
        if (samples.text().isEmpty())
            continue;
        text += QStringLiteral("# TYPE %1 %2\n# HELP %1 %3\n")
                    .arg(QLatin1String(family.name), QLatin1String(family.type),
                         QLatin1String(family.help))
            + samples.text();
    }
    return text.toUtf8() + "# EOF\n";
}
