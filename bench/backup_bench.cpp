// SPDX-License-Identifier: GPL-3.0-or-later
// Backups against the zip tool alone, and encryption against the cipher in memory and against the disk.
#include "Paired.h"

#include "backup/ArchiveCipher.h"
#include "backup/ZipStep.h"
#include "platform/SystemProcessRunner.h"
#include "support/TestTree.h"

#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

#include <openssl/evp.h>

namespace moorix::bench {

using namespace Qt::StringLiterals;
using test::TestTree;

namespace {

constexpr qint64 mebibyte = qint64(1) << 20;

QByteArray noise(qsizetype bytes, QRandomGenerator &random)
{
    QByteArray content(bytes, Qt::Uninitialized);
    random.generate(reinterpret_cast<quint32 *>(content.data()),
                    reinterpret_cast<quint32 *>(content.data() + content.size()));
    return content;
}

/// 1 GiB in large files, half of it text that shrinks, and 20,000 small ones.
const TestTree &sources()
{
    static const std::unique_ptr<TestTree> tree = [] {
        auto made = std::make_unique<TestTree>();
        QRandomGenerator random(1);
        for (int file = 0; file < 16; ++file) {
            QByteArray content = noise(64 * mebibyte, random);
            if (file % 2 == 1)
                content = content.left(24 * mebibyte).toHex() + content.left(16 * mebibyte);
            made->write(u"large/%1"_s.arg(file), content);
        }
        for (int file = 0; file < 20'000; ++file)
            made->write(u"small/%1/%2"_s.arg(file / 200).arg(file), noise(2048, random).toHex());
        return made;
    }();
    return *tree;
}

const ArchiveCipher &cipher()
{
    static const ArchiveCipher one(u"passphrase"_s);
    return one;
}

/// The most memory that was in use since `forgetPeak`.
qint64 peakKibibytes()
{
    const QByteArray status = test::contentOf(u"/proc/self/status"_s);
    const qsizetype peak = status.indexOf("VmHWM:") + 6;
    return status.mid(peak, status.indexOf(" kB", peak) - peak).trimmed().toLongLong();
}

void forgetPeak()
{
    QFile references(u"/proc/self/clear_refs"_s);
    if (references.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        references.write("5");
}

void zipAndEncrypt(benchmark::State &state)
{
    const TestTree to;
    SystemProcessRunner runner;
    sources();
    forgetPeak();
    const qint64 before = peakKibibytes();
    const auto ours = [&] {
        QFile::remove(to.path("a.zip"));
        QFile::remove(to.path("a.zip.enc"));
        zip({sources().path()}, to.path("a.zip"), runner, {});
        cipher().seal(to.path("a.zip"), to.path("a.zip.enc"), {}, {});
    };
    const auto peer = [&] {
        QFile::remove(to.path("b.zip"));
        QProcess::execute(u"/usr/bin/zip"_s, {u"-r"_s, u"-q"_s, to.path("b.zip"), sources().path()});
    };
    constexpr double limit = 1.1;
    paired(state, ours, peer, limit, WarmUp::no);
    state.counters["grown_MiB"] = double(peakKibibytes() - before) / 1024;
}
BENCHMARK(zipAndEncrypt)->Name("zip and encrypt 1 GiB and 20,000 files / zip alone")->Iterations(2)->UseManualTime();

/// The peer writes as much, also to the disk for certain, but encrypts nothing.
void sealToDisk(benchmark::State &state)
{
    const TestTree to;
    QRandomGenerator random(2);
    to.write("a.zip", noise(512 * mebibyte, random));
    const auto ours = [&] {
        QFile::remove(to.path("a.enc"));
        cipher().seal(to.path("a.zip"), to.path("a.enc"), {}, {});
    };
    const auto peer = [&] {
        QFile::remove(to.path("b"));
        QProcess::execute(u"dd"_s, {u"if="_s + to.path("a.zip"), u"of="_s + to.path("b"), u"bs=1M"_s, u"conv=fsync"_s,
                                    u"status=none"_s});
    };
    constexpr double limit = 1.25;
    paired(state, ours, peer, limit);
}
BENCHMARK(sealToDisk)->Name("encrypt 512 MiB to disk / dd with fsync")->Iterations(5)->UseManualTime();

/// Reading through the cipher without writing, against the cipher over memory.
void verify(benchmark::State &state)
{
    const TestTree to;
    QRandomGenerator random(3);
    const QByteArray content = noise(512 * mebibyte, random);
    to.write("a.zip", content);
    cipher().seal(to.path("a.zip"), to.path("a.enc"), {}, {});
    const auto ours = [&] { cipher().verify(to.path("a.enc"), {}, {}); };
    QByteArray out(mebibyte, Qt::Uninitialized);
    const auto peer = [&] {
        const unsigned char key[32] = {};
        EVP_CIPHER_CTX *const context = EVP_CIPHER_CTX_new();
        EVP_EncryptInit_ex2(context, EVP_aes_256_gcm(), key, key, nullptr);
        int count = 0;
        for (qint64 at = 0; at < content.size(); at += mebibyte)
            EVP_EncryptUpdate(context, reinterpret_cast<unsigned char *>(out.data()), &count,
                              reinterpret_cast<const unsigned char *>(content.constData() + at), int(mebibyte));
        EVP_CIPHER_CTX_free(context);
    };
    constexpr double limit = 2.0;
    paired(state, ours, peer, limit);
}
BENCHMARK(verify)->Name("check the tag of 512 MiB / AES-256-GCM in memory")->Iterations(5)->UseManualTime();

} // namespace

} // namespace moorix::bench

BENCHMARK_MAIN();
