// SPDX-License-Identifier: MIT
#pragma once

class QObject;

/// The C functions through which a host reaches the plug-in object.
///
/// A host that loads libKestrun.so at run time resolves them by name; a host that links to it may
/// call qt_plugin_instance() directly. As any Qt 6 plug-in, the library also exports
/// `qt_plugin_query_metadata_v2` for Qt's own loader. kestrun/KestrunHostTable.h has the functions
/// beside the object.

/// `qt_plugin_query_verification_data`: returns the text that a host compares, before it asks for
/// the object, to find out whether the library was made for it. Static storage, NUL-terminated.
using PluginVerificationFunction = const char *(*)();

/// `qt_plugin_instance`: returns the one plug-in object. The host owns it and may delete it; the
/// next call then creates a new one.
using PluginInstanceFunction = QObject *(*)();

/// As PluginInstanceFunction says.
extern "C" QObject *qt_plugin_instance();

/// The verification text of a plug-in for these dashboards, byte for byte.
inline constexpr char kPluginVerificationText[] = "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
                                                  "version=4.6.2\n"
                                                  "debug=false\n"
                                                  "buildkey=macosx macx g++-4 full-config";
