// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/TextEncoding.h"
#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

/// Bytes that become text and bytes again.
class TextEncodingTest final : public QObject
{
    Q_OBJECT

private slots:
    void everyTextComesBackAsTheBytesItWas()
    {
        const std::pair<QByteArray, TextEncoding> files[] = {
            {"", TextEncoding::utf8},
            {"gr\xC3\xBC\xC3\x9F \xF0\x9F\x90\xA7\r\n", TextEncoding::utf8},
            {"\xEF\xBB\xBF", TextEncoding::utf8Marked},
            {"\xEF\xBB\xBF\xEF\xBB\xBFx", TextEncoding::utf8Marked},
            {QByteArray("\xFF\xFEx\0=\xD8'\xDC", 8), TextEncoding::utf16LittleEndian},
            {QByteArray("\xFF\xFE=\xD8", 4), TextEncoding::utf16LittleEndian},
            {QByteArray("\xFE\xFF\0x", 4), TextEncoding::utf16BigEndian},
            {QByteArray("\xFF\xFE\0\0x\0\0\0", 8), TextEncoding::utf32LittleEndian},
            {QByteArray("\0\0\xFE\xFF\0\0\0x", 8), TextEncoding::utf32BigEndian},
            {"gr\xFC\xDF\x80", TextEncoding::latin1},
            // Breaks off within a character, which must not be lost.
            {"caf\xC3", TextEncoding::latin1}};
        for (const auto &[bytes, encoding] : files) {
            const auto decoded = decodedText(bytes);
            QVERIFY2(decoded, bytes.toHex(' '));
            QCOMPARE(decoded->encoding, encoding);
            QCOMPARE(encodedText(decoded->text, encoding), bytes);
        }
    }

    void whatIsNoTextOrHasNoBytesIsTold()
    {
        for (const QByteArray &bytes : {QByteArray("a\0b", 3), QByteArray("\xFF\xFEx"), QByteArray("\xEF\xBB\xBF\xFF"),
                                        QByteArray("\xEF\xBB\xBF\0", 4)})
            QVERIFY2(!decodedText(bytes), bytes.toHex(' '));
        QVERIFY(!encodedText(u"10 €"_s, TextEncoding::latin1));
        QVERIFY(!encodedText(u"half "_s + QChar(0xD83D), TextEncoding::utf8));
    }
};

MOORIX_TEST(TextEncodingTest)
#include "TextEncodingTest.moc"
