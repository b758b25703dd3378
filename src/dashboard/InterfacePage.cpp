// SPDX-License-Identifier: MIT
#include "InterfacePage.h"

#include "Session.h"

#include <QApplication>
#include <QHeaderView>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString shown(bool answer)
{
    return answer ? QStringLiteral("true") : QStringLiteral("false");
}
QString shown(int answer)
{
    return QString::number(answer);
}
QString shown(const QString &answer)
{
    return u'"' + answer + u'"';
}

// What the calls take.
struct Place
{
    QWidget &area;
    QRect rect;
    QString language;
};

// The functions without a result have an empty answer.
constexpr struct
{
    const char *call;
    QString (*make)(IUIPlugin &plugin, Place &place);
} kCalls[] = {
    {"GetPluginName()", [](auto &p, auto &) { return shown(p.GetPluginName()); }},
    {"GetCLSID()", [](auto &p, auto &) { return shown(p.GetCLSID()); }},
    {"GetPluginType()", [](auto &p, auto &) { return shown(p.GetPluginType()); }},
    {"GetVersion()", [](auto &p, auto &) { return shown(p.GetVersion()); }},
    {"IsReady()", [](auto &p, auto &) { return shown(p.IsReady()); }},
    {"ShowWindow(area, rect)",
     [](auto &p, auto &place) { return shown(p.ShowWindow(&place.area, place.rect)); }},
    {"FitSize(rect)", [](auto &p, auto &place) { return p.FitSize(place.rect), QString(); }},
    {"DoModal()", [](auto &p, auto &) { return shown(p.DoModal()); }},
    {"ChangeLang(\"\")", [](auto &p, auto &) { return shown(p.ChangeLang(QString())); }},
    {"ChangeLang(language)",
     [](auto &p, auto &place) { return shown(p.ChangeLang(place.language)); }},
    {"Hide()", [](auto &p, auto &) { return p.Hide(), QString(); }},
    {"QueryInterface(0, &object)",
     [](auto &p, auto &) {
         QObject *object = nullptr;
         const int result = p.QueryInterface(0, &object);
         return shown(result) + (object ? QStringLiteral(", an object") : QString());
     }},
    {"GetLastError()", [](auto &p, auto &) { return shown(p.GetLastError()); }},
    {"IsAllowRelease()", [](auto &p, auto &) { return shown(p.IsAllowRelease()); }},
    {"Release()", [](auto &p, auto &) { return p.Release(), QString(); }},
    {"UnSDKRegisterEvent()", [](auto &p, auto &) { return p.UnSDKRegisterEvent(), QString(); }},
};

// What a call could change in a window.
struct Scene
{
    qsizetype children;
    qsizetype windows;
    QRect rect;
    bool operator==(const Scene &) const = default;
};

Scene sceneOf(const Place &place)
{
    return {place.area.findChildren<QObject *>().size(), QApplication::topLevelWidgets().size(),
            place.rect};
}

} // namespace

InterfacePage::InterfacePage(Session &session, const QString &language)
    : m_session(session), m_language(language), m_calls(new QTreeWidget), m_area(new QWidget)
{
    m_calls->setObjectName(QStringLiteral("calls"));
    m_calls->setAccessibleName(tr("Calls of the plug-in's interface"));
    m_calls->setRootIsDecorated(false);
    m_calls->setHeaderLabels({tr("Call"), tr("Answer"), tr("Change in the window")});
    auto *const again = new QPushButton(tr("&Call again"));
    connect(again, &QPushButton::clicked, this, &InterfacePage::callAll);
    connect(&session, &Session::opened, this, &InterfacePage::callAll);
    auto *const layout = new QVBoxLayout(this);
    layout->addWidget(m_calls, 1);
    layout->addWidget(again);
    layout->addWidget(m_area);
}

void InterfacePage::callAll()
{
    IUIPlugin *const plugin = m_session.window();
    if (!plugin)
        return;
    m_calls->clear();
    Place place{*m_area, m_area->rect(), m_language};
    for (const auto &[call, make] : kCalls) {
        const Scene before = sceneOf(place);
        const QString answer = make(*plugin, place);
        const bool same = sceneOf(place) == before;
        m_calls->addTopLevelItem(
            new QTreeWidgetItem({QLatin1String(call), answer, same ? tr("none") : tr("changed")}));
    }
    for (int column = 0; column < 2; ++column)
        m_calls->resizeColumnToContents(column);
}

// As a dashboard does for a plug-in that has a window.
void InterfacePage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    IUIPlugin *const plugin = m_session.window();
    if (!plugin || !plugin->IsReady())
        return;
    QRect rect = m_area->rect();
    plugin->FitSize(rect);
}
