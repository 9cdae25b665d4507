// SPDX-License-Identifier: GPL-3.0-or-later
// Listing, ordering and filtering a folder of 100,000 entries.
#include "Paired.h"

#include "files/ItemOrder.h"
#include "files/LocalFileService.h"
#include "files/PaneListing.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace moorix;

namespace {

constexpr int entryCount = 100000;

/// Made once; names as people give them, with some folders and capitals among them.
const QString &bigFolder()
{
    static const QTemporaryDir folder;
    static const QString path = [] {
        static constexpr std::array suffixes{"txt", "jpg", "cpp", "log", "tar.gz"};
        for (int i = 0; i < entryCount; ++i) {
            const QString name =
                QStringLiteral("%1/%2 %3.%4")
                    .arg(folder.path(), i % 3 == 0 ? QStringLiteral("Report") : QStringLiteral("photo"))
                    .arg((i * 7919) % entryCount)
                    .arg(QLatin1String(suffixes[std::size_t(i) % suffixes.size()]));
            const int file = ::open(QFile::encodeName(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            ::close(file);
        }
        return folder.path();
    }();
    return path;
}

/// The least that reading a folder with its entries' attributes can cost.
void bareListing(const QByteArray &path)
{
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::array<char, 32768> buffer;
    struct ::statx status = {};
    for (;;) {
        const long count = ::syscall(SYS_getdents64, folder, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        for (long at = 0; at < count;) {
            // struct linux_dirent64: the record's length at byte 16, the name from byte 19.
            const auto length = *reinterpret_cast<const unsigned short *>(buffer.data() + at + 16);
            ::statx(folder, buffer.data() + at + 19, AT_SYMLINK_NOFOLLOW,
                    STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME, &status);
            benchmark::DoNotOptimize(status);
            at += length;
        }
    }
    ::close(folder);
}

void listAgainstBareLoop(benchmark::State &state)
{
    const QByteArray native = QFile::encodeName(bigFolder());
    LocalFileService service;
    bench::paired(
        state, [&] { benchmark::DoNotOptimize(service.list(bigFolder(), HiddenFiles::included, std::stop_token())); },
        [&] { bareListing(native); }, 1.5);
}
BENCHMARK(listAgainstBareLoop)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(11);

void listAgainstLs(benchmark::State &state)
{
    LocalFileService service;
    bench::paired(
        state, [&] { benchmark::DoNotOptimize(service.list(bigFolder(), HiddenFiles::included, std::stop_token())); },
        [&] {
            QProcess ls;
            ls.setStandardOutputFile(QProcess::nullDevice());
            ls.start(QStringLiteral("/bin/ls"), {QStringLiteral("-l"), bigFolder()});
            ls.waitForFinished(-1);
        },
        1.0);
}
BENCHMARK(listAgainstLs)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

std::shared_ptr<PaneListing> bigListing()
{
    LocalFileService service;
    return PaneListing::make(service.list(bigFolder(), HiddenFiles::included, std::stop_token()), HiddenFiles::included,
                             ItemView());
}

/// What a click on a column header costs the main thread.
void sortAnew(benchmark::State &state, FileSortKey key)
{
    const auto listing = bigListing();
    ItemView sorted;
    sorted.sortKey = key;
    ItemView other;
    other.sortKey = key == FileSortKey::name ? FileSortKey::size : FileSortKey::name;
    bench::limited(
        state, [&] { listing->setView(other); }, [&] { listing->setView(sorted); }, 60);
}
BENCHMARK_CAPTURE(sortAnew, name, FileSortKey::name)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);
BENCHMARK_CAPTURE(sortAnew, size, FileSortKey::size)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);
BENCHMARK_CAPTURE(sortAnew, date, FileSortKey::date)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);
BENCHMARK_CAPTURE(sortAnew, kind, FileSortKey::kind)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);

void filter(benchmark::State &state)
{
    const auto listing = bigListing();
    ItemView all;
    ItemView filtered;
    filtered.searchQuery = QStringLiteral("77");
    bench::limited(
        state, [&] { listing->setView(all); }, [&] { listing->setView(filtered); }, 15);
}
BENCHMARK(filter)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);

} // namespace

BENCHMARK_MAIN();
