// SPDX-License-Identifier: MIT
#include "ReportFiles.h"
#include "TestData.h"
#include "TestSupport.h"

#include <QTest>

#include <iconv.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <unistd.h>

namespace {

// Encodes by the C library, not by the code under test.
QByteArray encoded(const QString &text, const QByteArray &encoding)
{
    const iconv_t converter = iconv_open(encoding.constData(), "UTF-8");
    QByteArray in = text.toUtf8();
    QByteArray out(8 * in.size() + 8, '\0');
    char *from = in.data();
    char *to = out.data();
    auto inLeft = size_t(in.size());
    auto outLeft = size_t(out.size());
    if (converter == iconv_t(-1) || iconv(converter, &from, &inLeft, &to, &outLeft) == size_t(-1))
        qFatal("%s cannot hold the text of its row", encoding.constData());
    iconv(converter, nullptr, nullptr, &to, &outLeft);
    iconv_close(converter);
    return out.first(to - out.data());
}

// Returns a value of a document as libxml2 reads it.
QString valueIn(const QByteArray &xml, const char *path)
{
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc *)> document(
        xmlReadMemory(xml.constData(), int(xml.size()), nullptr, nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    if (!document)
        return "not well-formed";
    const auto context = xmlXPathNewContext(document.get());
    const auto result = xmlXPathEvalExpression(BAD_CAST path, context);
    xmlChar *const text = xmlXPathCastToString(result);
    const QString value = QString::fromUtf8(reinterpret_cast<const char *>(text));
    xmlFree(text);
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return value;
}

} // namespace

class tst_Encodings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (geteuid() != 0)
            QSKIP("Only root can write a file of mode 0002 again.");
    }

    void keepsCharacters_data() { addRows("encodings.txt"); }

    // Characters as such and, where the encoding may not hold them, as references.
    void keepsCharacters()
    {
        const TestRoot root;
        const QString text = cell("text");
        const QByteArray encoding = cell("encoding").toLatin1();
        const QString xml = QString("<?xml version='1.0' encoding='%1'?><C a='%2&#8364;'><!--%2-->"
                                    "<HistoryData><LatestSimLockState>9</LatestSimLockState>"
                                    "</HistoryData><T>%2&#8364;&#x1F600;&amp;</T></C>")
                                .arg(cell("encoding"), text);
        root.write(root.config(), encoded(xml, encoding));
        const LogCapture log;
        kestrun::updateConfigFile("17", "module");
        const QByteArray written = readFile(root.config());
        QCOMPARE(log.lines(), QStringList("Read Config.xml file:"));
        QCOMPARE(valueIn(written, "//LatestSimLockState"), "17");
        QCOMPARE(valueIn(written, "/C/T"), text + QString("\u20ac\U0001F600&"));
        QCOMPARE(valueIn(written, "/C/@a"), text + QString("\u20ac"));
        QCOMPARE(valueIn(written, "/C/comment()"), text);
        kestrun::updateConfigFile("9", "module");
        kestrun::updateConfigFile("17", "module");
        QCOMPARE(readFile(root.config()), written);
    }

    // The C library reads no euro sign from this byte, and a comment cannot have a reference.
    void keepsCharactersOfQtsOwn()
    {
        const TestRoot root;
        const QByteArray begin = "<?xml version='1.0' encoding='GBK'?>\n<C>\n    <!--\x80-->\n";
        root.write(root.config(), begin + "    <T>&#x1f600;</T>\n</C>\n");
        kestrun::updateConfigFile("7", "module");
        QCOMPARE(readFile(root.config()), begin + "    <T>&#128512;</T>\n</C>\n");
    }
};

QTEST_APPLESS_MAIN(tst_Encodings)
#include "tst_encodings.moc"
