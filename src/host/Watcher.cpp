// SPDX-License-Identifier: MIT
#include "Watcher.h"

#include "Json.h"
#include "Output.h"
#include "VisibleText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>

#include <cerrno>
#include <unistd.h>

namespace {

constexpr char kCommands[] = "insert [CARD] | remove | event NUMBER | set FIELD VALUE";

} // namespace

Watcher::Watcher(Dashboard &dashboard, Form form)
    : m_dashboard(dashboard),
      m_table(dashboard.plugin().requireTable(QStringLiteral("be watched"))), m_form(form),
      m_report(dashboard.reportFile()), m_input(STDIN_FILENO, QSocketNotifier::Read),
      m_readerGone(outputDescriptor(), QSocketNotifier::Exception)
{
    connect(&m_report, &ReportWatch::rewritten, this, &Watcher::tellRewrite);
    connect(&m_input, &QSocketNotifier::activated, this, &Watcher::readCommands);
    connect(&m_readerGone, &QSocketNotifier::activated, this, &QCoreApplication::quit);
}

void Watcher::start()
{
    auto *const controller = static_cast<QObject *>(m_table.controller());
    connect(controller, SIGNAL(DeviceAvailable()), this, SLOT(onAvailable()));
    connect(controller, SIGNAL(DeviceUnavailable()), this, SLOT(onUnavailable()));
    if (m_form == Form::Json)
        tellSource();
    m_report.check();
    if (m_report.values().isEmpty()) {
        const QString why = whyNotWritten(m_report.file());
        tell(QStringLiteral("no report: ") + why,
             {{QStringLiteral("type"), QStringLiteral("error")}, {QStringLiteral("message"), why}});
    }
}

void Watcher::tellEnd(int callbacks)
{
    tell(QStringLiteral("ended; %1 callbacks are still registered").arg(callbacks),
         {{QStringLiteral("type"), QStringLiteral("end")},
          {QStringLiteral("callbacks"), callbacks}});
}

void Watcher::onAvailable()
{
    // Prints a rewrite that preceded the signal first.
    m_report.check();
    tell(colored(QStringLiteral("signal DeviceAvailable"), Color::Green),
         {{QStringLiteral("type"), QStringLiteral("signal")},
          {QStringLiteral("name"), QStringLiteral("DeviceAvailable")}});
}

void Watcher::onUnavailable()
{
    m_report.check();
    tell(colored(QStringLiteral("signal DeviceUnavailable"), Color::Red),
         {{QStringLiteral("type"), QStringLiteral("signal")},
          {QStringLiteral("name"), QStringLiteral("DeviceUnavailable")}});
}

void Watcher::readCommands()
{
    char buffer[4096];
    const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count > 0) {
        m_inputBuffer.append(buffer, count);
    } else {
        // The input is closed, and the notifier would fire for ever. The last line may lack its
        // line feed.
        m_input.setEnabled(false);
        m_inputBuffer.append('\n');
    }
    for (qsizetype end; (end = m_inputBuffer.indexOf('\n')) >= 0;) {
        const QString line = QString::fromUtf8(m_inputBuffer.first(end)).trimmed();
        m_inputBuffer.remove(0, end + 1);
        if (!line.isEmpty())
            runCommand(line);
        m_report.check();
    }
}

void Watcher::runCommand(const QString &line)
{
    const DeviceServiceControl *const control = m_dashboard.deviceService().control();
    const auto wrong = [this](const QString &message) {
        tell(visible(message),
             {{QStringLiteral("type"), QStringLiteral("error")},
              {QStringLiteral("message"), message}});
    };
    if (!control)
        return wrong(QStringLiteral("the device service of a card maker takes no commands"));

    const QString command = line.section(QLatin1Char(' '), 0, 0);
    const QString rest = line.section(QLatin1Char(' '), 1).trimmed();
    bool known = true;
    int result = 0;
    if (command == QLatin1String("insert")) {
        if (!rest.isEmpty()) {
            result = m_dashboard.deviceService().loadCard(rest);
            if (result == 0)
                tellSource();
        }
        if (result == 0)
            result = control->insert();
    } else if (command == QLatin1String("remove") && rest.isEmpty()) {
        result = control->remove();
    } else if (command == QLatin1String("event")) {
        const int event = rest.toInt(&known);
        if (known)
            result = control->raiseEvent(event);
    } else if (command == QLatin1String("set") && !rest.isEmpty()) {
        const QString field = rest.section(QLatin1Char(' '), 0, 0);
        const QString value = rest.section(QLatin1Char(' '), 1).trimmed();
        if (Redactor *const redacting = redactor())
            redacting->learn(field, value);
        result = control->setField(field.toUtf8().constData(), value.toUtf8().constData());
    } else {
        known = false;
    }
    if (!known)
        wrong(QStringLiteral("\"%1\" is not a command; the commands are: %2")
                  .arg(line, QLatin1String(kCommands)));
    else if (result != 0)
        wrong(QString::fromUtf8(control->lastError()));
}

void Watcher::tellRewrite(const QList<ValueChange> &changes)
{
    tell(QStringLiteral("report rewritten: ") + m_report.file(),
         {{QStringLiteral("type"), QStringLiteral("report")},
          {QStringLiteral("file"), m_report.file()}});
    if (Redactor *const redacting = redactor())
        redacting->learn(m_report.values());
    for (const ValueChange &change : changes)
        tellChange(change);
}

void Watcher::tellSource()
{
    const QString source = m_dashboard.deviceService().source();
    tell(QStringLiteral("source: ") + visible(source),
         {{QStringLiteral("type"), QStringLiteral("source")}, {QStringLiteral("source"), source}});
}

void Watcher::tellChange(ValueChange change)
{
    if (const Redactor *const redacting = redactor()) {
        change.previous = redacting->redacted(change.path, change.previous);
        change.current = redacting->redacted(change.path, change.current);
    }
    constexpr int kPathColumn = 37; // the longest path
    tell(QStringLiteral("  %1  \"%2\" \u2192 \"%3\"")
             .arg(change.path.leftJustified(kPathColumn), visible(change.previous),
                  colored(visible(change.current), Color::Cyan)),
         {{QStringLiteral("type"), QStringLiteral("change")},
          {QStringLiteral("field"), change.path},
          {QStringLiteral("old"), change.previous},
          {QStringLiteral("new"), change.current}});
}

void Watcher::tell(const QString &text, QJsonObject object)
{
    const QDateTime now = QDateTime::currentDateTime();
    if (m_form == Form::Text) {
        print(now.time().toString(Qt::ISODateWithMs) + QLatin1Char(' ') + text + QLatin1Char('\n'));
        return;
    }
    object.insert(QStringLiteral("time"),
                  now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs));
    object.insert(QStringLiteral("version"), kJsonVersion);
    print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))
          + QLatin1Char('\n'));
}
