// SPDX-License-Identifier: MIT
#pragma once

class QObject;

/// The C functions that libKestrun.so exports, for hosts that load it at run time.
///
/// A host resolves them by name; a host that links to the library may call those directly that are
/// declared here. `qt_plugin_query_metadata_v2`, which Qt's own loader needs, is there as in any
/// Qt 6 plug-in.

/// `qt_plugin_query_verification_data`: the text by which a host tells, before it asks for the
/// object, whether the library was made for it. Static storage, NUL-terminated.
using PluginVerificationFunction = const char *(*)();

/// `qt_plugin_instance`: the one plug-in object. The host owns it and may delete it; the next call
/// then makes a new one.
using PluginInstanceFunction = QObject *(*)();

extern "C" QObject *qt_plugin_instance();

/// What the verification function of a plug-in for these dashboards answers, byte for byte.
inline constexpr char kPluginVerificationText[] = "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
                                                  "version=4.6.2\n"
                                                  "debug=false\n"
                                                  "buildkey=macosx macx g++-4 full-config";

/// `KestrunSetSystemRoot`: moves the beginning of all fixed locations ("/usr/local/...",
/// "/Library/...", "/Applications/...") from "/" to `directory`, for a host that lives in a
/// sandbox. UTF-8 without a closing slash; null or empty goes back to "/". Files that are looked
/// up in the working directory, and paths read from settings files, do not move. Call it before
/// IBasePlugin::Init(), on the host's thread: it is not guarded.
using SetSystemRootFunction = void (*)(const char *directory);

extern "C" void KestrunSetSystemRoot(const char *directory);
