// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kestrun {

/// Returns the encoding that an XML declaration names, given the text between "<?xml" and "?>", or
/// an empty text if it names none.
QString declaredEncoding(const QString &declaration);

/// Decodes an XML document as its byte order mark or its declaration says, else from UTF-8. Bytes
/// that are invalid there become replacement characters.
QString decodedXml(const QByteArray &xml);

/// Encodes an XML document. Characters that the encoding cannot hold become character references,
/// and so do those that Qt and the C library encode differently, as far as XML permits, since other
/// programs would not read them as Qt does. Returns nothing if the encoding is unknown, or if it
/// cannot hold a character where XML permits no reference.
std::optional<QByteArray> encodedXml(const QString &xml, const QString &encoding);

} // namespace kestrun
