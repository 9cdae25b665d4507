// SPDX-License-Identifier: GPL-3.0-or-later
#include "backup/ArchiveCipher.h"
#include "backup/SealedFile.h"
#include "support/TestMain.h"

#include <QProcess>
#include <QRandomGenerator>

#include <sys/stat.h>

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray randomBytes(qsizetype count, uint seed)
{
    QByteArray bytes((count + 3) / 4 * 4, Qt::Uninitialized);
    QRandomGenerator random(seed);
    random.generate(reinterpret_cast<quint32 *>(bytes.data()),
                    reinterpret_cast<quint32 *>(bytes.data() + bytes.size()));
    return bytes.left(count);
}

} // namespace

/// The encrypted form: what others read, and what must never be read.
class ArchiveCipherTest final : public QObject
{
    Q_OBJECT

    const QString m_phrase = u"pass «phrase» $(x)"_s;
    const ArchiveCipher m_cipher{m_phrase};

    /// The sealed form of these bytes, in "sealed".
    QByteArray sealed(const TestTree &tree, const QByteArray &content) const
    {
        tree.write("plain", content);
        QFile::remove(tree.path("sealed"));
        m_cipher.seal(tree.path("plain"), tree.path("sealed"), {}, neverStops);
        return tree.read("sealed");
    }

private slots:
    void theDocumentedRecipeOpensWhatWasSealed()
    {
        QFile document(QStringLiteral(MOORIX_DOCS "/backup-archives.md"));
        QVERIFY(document.open(QIODevice::ReadOnly));
        const QByteArray text = document.readAll();
        const qsizetype start = text.indexOf("```python\n") + 10;
        const QByteArray recipe = text.mid(start, text.indexOf("```", start) - start);
        const TestTree tree{{"recipe.py", recipe}};
        for (const qsizetype size : {0, 1, 3'000'001}) {
            const QByteArray content = randomBytes(size, 1);
            QCOMPARE(sealed(tree, content).size(), size + 48);
            for (const QByteArray &phrase : {m_phrase.toUtf8(), QByteArray("wrong")}) {
                QProcess python;
                python.start(u"python3"_s, {tree.path("recipe.py"), tree.path("sealed"), tree.path("out")});
                python.write(phrase + '\n');
                python.closeWriteChannel();
                QVERIFY(python.waitForFinished());
                const bool isRight = phrase != "wrong";
                QVERIFY2((python.exitCode() == 0) == isRight, python.readAllStandardError().constData());
                QCOMPARE(tree.exists("out"), isRight);
                QVERIFY(!isRight || tree.read("out") == content);
                QVERIFY(!tree.exists("out.part"));
                QFile::remove(tree.path("out"));
            }
        }
    }

    void twoSealingsShareNothingButTheMagic()
    {
        const TestTree tree;
        const QByteArray content(100, 'x');
        const QByteArray a = sealed(tree, content);
        const QByteArray b = sealed(tree, content);
        QVERIFY(a.startsWith("MRX1") && b.startsWith("MRX1"));
        QVERIFY(a.mid(4, 16) != b.mid(4, 16) && a.mid(20, 12) != b.mid(20, 12) && a.mid(32, 100) != b.mid(32, 100));
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(tree.path("sealed")).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777, 0600U);
    }

    void everyFlippedByteIsNoticedAndNothingIsWritten()
    {
        const TestTree tree;
        const QByteArray archive = sealed(tree, randomBytes(20'000, 2));
        const QByteArray anySeed = QByteArray::number(QRandomGenerator::global()->generate());
        const uint seed = qEnvironmentVariable("MOORIX_SEED", QString::fromLatin1(anySeed)).toUInt();
        qInfo("MOORIX_SEED=%u", seed);
        QRandomGenerator random(seed);
        for (int round = 0; round < 1000; ++round) {
            const qsizetype place = round < 48 ? round : random.bounded(int(archive.size()));
            QByteArray damaged = archive;
            damaged[place] = char(damaged.at(place) ^ char(1 << random.bounded(8)));
            tree.write("sealed", damaged);
            const QString message =
                messageOf([&] { m_cipher.open(tree.path("sealed"), tree.path("out"), {}, neverStops); });
            QVERIFY2(message.contains(place < 4 ? u"MRX1"_s : u"the file is damaged"_s), qPrintable(message));
            QCOMPARE(tree.snapshot().keys(), QStringList({u"plain"_s, u"sealed"_s}));
        }
        for (const qsizetype size : {0, 3, 47, 48, 5000})
            QVERIFY(!messageOf([&] {
                         tree.write("sealed", archive.left(size));
                         m_cipher.verify(tree.path("sealed"), {}, neverStops);
                     }).isEmpty());
    }

    void whatOpensIsWholeAndReplacesNothing()
    {
        const TestTree tree;
        const QByteArray content = randomBytes(2'500'000, 3);
        sealed(tree, content);
        m_cipher.open(tree.path("sealed"), tree.path("out"), {}, neverStops);
        QVERIFY(tree.read("out") == content);
        QVERIFY(messageOf([&] {
                    m_cipher.open(tree.path("sealed"), tree.path("out"), {}, neverStops);
                }).contains(u"exists already"_s));
        std::stop_source stopped;
        const auto stopAtOnce = [&](qint64) { stopped.request_stop(); };
        QCOMPARE(
            messageOf([&] { m_cipher.open(tree.path("sealed"), tree.path("other"), stopAtOnce, stopped.get_token()); }),
            Cancelled().message());
        QCOMPARE(tree.snapshot().keys(), QStringList({u"out"_s, u"plain"_s, u"sealed"_s}));
    }

    void anyPartCanBeReadInPlace()
    {
        const TestTree tree;
        const QByteArray content = randomBytes(100'000, 4);
        sealed(tree, content);
        SealedReader reader(tree.path("sealed"), m_cipher);
        QRandomGenerator random(5);
        for (int round = 0; round < 200; ++round) {
            const int offset = random.bounded(100'010);
            const int size = random.bounded(1, 5000);
            QCOMPARE(reader.read(offset, size), content.mid(offset, size));
        }
    }

    void failuresOfSealingSayWhyAndLeaveNothing()
    {
        const TestTree tree{{"plain", "text"}};
        const auto message = [&](const QString &to) {
            return messageOf([&] { m_cipher.seal(tree.path("plain"), to, {}, neverStops); });
        };
        QVERIFY(message(u"/dev/full/x"_s).startsWith(u"Encryption failed: "_s));
        QVERIFY(message(tree.path("plain")).startsWith(u"Encryption failed: "_s));
        QCOMPARE(tree.read("plain"), QByteArray("text"));
        QVERIFY(!messageOf([] { ArchiveCipher::requireSealable(ArchiveCipher::longestContentBytes + 1); }).isEmpty());
        // A file of that size that takes no room.
        QVERIFY(QFile::resize(tree.path("plain"), ArchiveCipher::longestContentBytes + 1));
        QVERIFY(message(tree.path("sealed")).contains(u"68719476704"_s));
        QVERIFY(!tree.exists("sealed"));
    }
};

MOORIX_TEST(ArchiveCipherTest)
#include "ArchiveCipherTest.moc"
