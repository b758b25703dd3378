// SPDX-License-Identifier: MIT
#include "plugin/IBasePlugin.h"

#include <QObject>

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data();

extern "C" Q_DECL_EXPORT const char *qt_plugin_query_verification_data()
{
    return "pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.0\ndebug=false\nbuildkey=other";
}

class WrongPlugin : public QObject
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.velmora.brisklane.plugin.IBasePlugin")
};

#include "wrongplugin.moc"
