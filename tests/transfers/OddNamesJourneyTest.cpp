// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/Format.h"
#include "files/NativePath.h"
#include "support/FTPServer.h"
#include "support/TestMain.h"
#include "support/TestServer.h"
#include "transfers/TransferScene.h"

using namespace moorix;
using namespace moorix::test;
using namespace Qt::StringLiterals;

namespace {

/// Names as the disk holds them: each sign that means something to some shell or protocol, at the start, in the middle
/// and at the end; and what else has been seen to go wrong.
QByteArrayList oddNames()
{
    QByteArrayList names{QByteArray(200, 'n'), QByteArray(255, 'm')};
    for (const char *name :
         {"$(touch x)", "`touch x`", "it's \"q\"", "a\\\"b", "{a,b}", "[ab]", "a  b", "...", "..x", "-rf", "--", "%41",
          "x;type=a", "a -> b", "Jan  1 12:00 x", "\xc3\xbc", "u\xcc\x88", "\xe6\x97\xa5 \xf0\x9f\x8e\x88", "\xc2\xa0",
          // What no line of a protocol can carry, and what is no text.
          "a\nb", "a\tb", "\x1b[31m", "b\xff", "del\x7f"})
        names << name;
    for (const char sign : QByteArray(" !\"#$%&'()*+,;:<=>?@[\\]^`{|}~"))
        names << QByteArray("x") + sign + 'x' << sign + QByteArray("x") << QByteArray("x") + sign;
    return names;
}

/// The files of a folder, by their names' bytes.
QMap<QByteArray, QByteArray> filesIn(const QString &folder)
{
    QMap<QByteArray, QByteArray> files;
    LocalFileService disk;
    for (const FileItem &item : disk.list(folder, HiddenFiles::included, {}))
        files.insert(NativePath::bytes(item.name), disk.read(item.path, {}));
    return files;
}

} // namespace

/// From this machine to one server, to another, and back: each file arrives under its very name, or is refused in a
/// sentence that names it.
class OddNamesJourneyTest final : public QObject
{
    Q_OBJECT

private slots:
    void everyNameArrivesOrIsRefusedInWords()
    {
        if (const QString missing = FTPServer::missing(FTPServer::Program::vsftpd); !missing.isEmpty())
            QSKIP(qPrintable(missing));
        const TestServer sshd;
        const FTPServer ftpd(FTPServer::Program::vsftpd, FTPServer::Encryption::none);
        const TestTree tree{{"from/d/", ""}, {"back/", ""}};
        const auto disk = std::make_shared<LocalFileService>();
        const auto near = sshd.service();
        const auto far = ftpd.service();
        for (const QByteArray &name : oddNames())
            disk->write(name.toHex(), tree.path("from/d/") + NativePath::text(name), {});
        const QMap<QByteArray, QByteArray> sent = filesIn(tree.path("from/d"));
        QCOMPARE(sent.size(), oddNames().size());

        QStringList refusals = carry(disk, tree.path("from"), near, sshd.sharedPath());
        refusals += carry(near, sshd.sharedPath(), far, ftpd.sharedPath());
        refusals += carry(far, ftpd.sharedPath(), disk, tree.path("back"));
        near->disconnect();

        const QMap<QByteArray, QByteArray> arrived = filesIn(tree.path("back/d"));
        for (auto file = sent.cbegin(); file != sent.cend(); ++file) {
            const QString text = Format::display(NativePath::text(file.key()));
            QVERIFY2(arrived.contains(file.key()) ? arrived.value(file.key()) == *file
                                                  : refusals.join(u'\n').contains(text),
                     file.key().toPercentEncoding().constData());
        }
        for (const QByteArray &name : arrived.keys())
            QVERIFY2(sent.contains(name), name.toPercentEncoding().constData());
        qInfo().noquote() << sent.size() << "names," << arrived.size() << "arrived";
    }

private:
    /// Carries the folder that lies in `folder`. Returns what was refused.
    static QStringList carry(const std::shared_ptr<FileService> &from, const QString &folder,
                             const std::shared_ptr<FileService> &to, const QString &target)
    {
        const TransferRequest request{from, to, from->list(folder, HiddenFiles::included, {}), target};
        return TransferRun(request, {}).run({}).failures;
    }
};

MOORIX_TEST(OddNamesJourneyTest)
#include "OddNamesJourneyTest.moc"
