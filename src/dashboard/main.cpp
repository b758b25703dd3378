// SPDX-License-Identifier: MIT
#include "LoadCheck.h"
#include "LogTap.h"
#include "MainWindow.h"
#include "Options.h"
#include "ProcessSetup.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QLocale>

#include <memory>
#include <optional>

namespace {

// The child process that checks the libraries, the help and the version need no display.
std::unique_ptr<QCoreApplication> createApplication(int &argc, char **argv)
{
    for (int index = 1; index < argc; ++index) {
        for (const char *argument : {kLoadCheckCommand, "-h", "--help", "-v", "--version"}) {
            if (qstrcmp(argv[index], argument) == 0)
                return std::make_unique<QCoreApplication>(argc, argv);
        }
    }
    return std::make_unique<QApplication>(argc, argv);
}

// Ends the program after --help and --version, and after a wrong option.
HostOptions readOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows a mobile-broadband card and its report in a window."));
    parser.addHelpOption();
    parser.addVersionOption();
    for (const Option &option : {kCardOption, kRootOption, kPluginOption, kSdkOption}) {
        parser.addOption(
            {QLatin1String(option.name), QLatin1String(option.help), QLatin1String(option.value)});
    }
    parser.addOption({QLatin1String(kRedactOption.name), QLatin1String(kRedactOption.help)});
    parser.process(arguments);
    const auto value = [&](const Option &option) {
        return parser.value(QLatin1String(option.name));
    };
    const QString plugin = value(kPluginOption);
    return {.plugin = plugin.isEmpty() ? PluginLibrary::defaultFile() : plugin,
            .sdk = value(kSdkOption),
            .tried = parser.isSet(QLatin1String(kPluginOption.name))
                || parser.isSet(QLatin1String(kSdkOption.name)),
            .card = value(kCardOption),
            .root = value(kRootOption)};
}

} // namespace

int main(int argc, char **argv)
{
    prepareProcess();
    const auto application = createApplication(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kestrun-dashboard"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KESTRUN_VERSION));
    QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String(kLoadCheckCommand))
        runLoadCheck(arguments.mid(2));
    const std::optional<Redactor::Extent> extent = takeRedaction(arguments);
    const HostOptions options = readOptions(arguments);
    QGuiApplication::setDesktopFileName(QStringLiteral("kestrun-dashboard"));
    QGuiApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("kestrun-dashboard")));

    RecordModel timeLine;
    RecordModel log;
    std::optional<Redactor> redactor;
    if (extent)
        redactor.emplace(*extent);
    const LogTap tap(log, redactor ? &*redactor : nullptr);
    Session session(options, timeLine, redactor ? &*redactor : nullptr);
    MainWindow window(session, timeLine, log);
    QObject::connect(&window, &MainWindow::closed, application.get(), &QCoreApplication::quit,
                     Qt::QueuedConnection);
    window.setLanguage(QLocale().name().section(QLatin1Char('_'), 0, 0));
    window.show();
    session.open();
    return QCoreApplication::exec();
}
