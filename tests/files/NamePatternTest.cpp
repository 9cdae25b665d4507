// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/NamePattern.h"

#include "support/TestMain.h"

using namespace moorix;
using namespace Qt::StringLiterals;

class NamePatternTest final : public QObject
{
    Q_OBJECT

private slots:
    void namesFitAsShellsTakeThem()
    {
        const std::tuple<QString, QString, bool> rows[] = {
            {u"*.log"_s, u"a.log"_s, true},
            {u"*.log"_s, u".log"_s, false},
            {u".*"_s, u".log"_s, true},
            {u"*a*b"_s, u"xaxab"_s, true},
            {u"*a*b"_s, u"xaxa"_s, false},
            {u"?"_s, u"\U0001F600"_s, true},
            {u"a?"_s, u"a"_s + QChar(0xD800), true},
            {u"[a-c]1"_s, u"b1"_s, true},
            {u"[!a-c]1"_s, u"b1"_s, false},
            {u"[]x]"_s, u"]"_s, true},
            {u"[a-]"_s, u"-"_s, true},
            {u"[a"_s, u"[a"_s, true},
            {u"[\U0001F600]"_s, u"\U0001F600"_s, true},
            {u"\\*"_s, u"x"_s, false},
            {u"\\*"_s, u"*"_s, true},
            {u"*"_s, u"a\nb"_s, true},
            {u"a*"_s, u"A"_s, false},
            {u"**"_s, u"a"_s, true},
            {u"[]"_s, u"[]"_s, true},
            {u"[!]"_s, u"[!]"_s, true},
            {u"a"_s, u"ab"_s, false},
        };
        for (const auto &[pattern, name, fits] : rows)
            QVERIFY2(NamePattern::matches(pattern, name) == fits, qPrintable(pattern + u' ' + name));
        // Many stars take no longer.
        QVERIFY(!NamePattern::matches(u"*a"_s.repeated(40), QString(250, u'a') + u'b'));
    }
};

MOORIX_TEST(NamePatternTest)
#include "NamePatternTest.moc"
