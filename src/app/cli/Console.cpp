// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Console.h"

#include "base/Error.h"
#include "files/Format.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

void toStandardError(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

/// Names and the words of servers must not reach a terminal as commands.
QString harmless(const QString &text)
{
    QString shown;
    qsizetype begin = 0;
    for (qsizetype end = 0; end <= text.size(); ++end) {
        const bool isLayout = end < text.size() && (text.at(end) == u'\n' || text.at(end) == u'\t');
        if (!isLayout && end < text.size())
            continue;
        shown += Format::display(text.mid(begin, end - begin));
        if (isLayout)
            shown += text.at(end);
        begin = end + 1;
    }
    return shown;
}

/// Turns the terminal's echo off for as long as it lives.
class EchoOff final
{
public:
    EchoOff()
    {
        ::tcgetattr(STDIN_FILENO, &m_before);
        termios silent = m_before;
        silent.c_lflag &= ~tcflag_t(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    Q_DISABLE_COPY_MOVE(EchoOff)
    ~EchoOff() { ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before); }

private:
    termios m_before = {};
};

/// Waits for input and reads at most `size` bytes of it; empty at the end of the input.
QByteArray readSome(qsizetype size, const std::stop_token &stop)
{
    while (true) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        constexpr int sliceMsecs = 50;
        const int ready = ::poll(&input, 1, sliceMsecs);
        if (stop.stop_requested())
            throw Cancelled();
        if (ready <= 0)
            continue;
        QByteArray bytes(size, Qt::Uninitialized);
        const ssize_t count = ::read(STDIN_FILENO, bytes.data(), size_t(size));
        if (count < 0)
            throw Error(u"Console"_s, u"Standard input could not be read: %1"_s.arg(systemErrorText(errno)));
        return bytes.left(count);
    }
}

QByteArray readLine(const std::stop_token &stop)
{
    QByteArray line;
    while (!line.endsWith('\n')) {
        const QByteArray letter = readSome(1, stop);
        if (letter.isEmpty())
            throw Cancelled();
        line += letter;
    }
    line.chop(1);
    return line;
}

} // namespace

void console::print(const QString &text)
{
    printBytes((::isatty(STDOUT_FILENO) == 1 ? harmless(text) : text).toUtf8());
}

void console::printBytes(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void console::flush()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw Error(u"Console"_s, u"The output could not be written: %1"_s.arg(systemErrorText(errno)));
}

void console::complain(const QString &sentence)
{
    showProgress({});
    toStandardError(harmless(sentence) + u'\n');
}

bool console::showsProgress()
{
    return ::isatty(STDERR_FILENO) == 1;
}

void console::showProgress(const QString &line)
{
    // A line that is too long is cut off: what has wrapped would stay.
    if (showsProgress())
        toStandardError(u"\r\x1b[K\x1b[?7l"_s + harmless(line) + u"\x1b[?7h"_s);
}

bool console::canAsk()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

QString console::ask(const QString &question, const std::stop_token &stop)
{
    showProgress({});
    toStandardError(harmless(question));
    return QString::fromUtf8(readLine(stop)).trimmed();
}

QByteArray console::readAll(qsizetype mostBytes, const std::stop_token &stop)
{
    constexpr qsizetype chunkBytes = 65536;
    QByteArray all;
    while (all.size() < mostBytes) {
        const QByteArray bytes = readSome(std::min(chunkBytes, mostBytes - all.size()), stop);
        if (bytes.isEmpty())
            break;
        all += bytes;
    }
    return all;
}

QByteArray console::readSecret(const QString &prompt, const std::stop_token &stop)
{
    constexpr qsizetype longestSecret = qsizetype(1024) * 1024;
    if (!canAsk())
        return readAll(longestSecret, stop);
    const EchoOff silence;
    toStandardError(prompt);
    const QByteArray line = readLine(stop);
    toStandardError(u"\n"_s);
    return line;
}

} // namespace moorix
