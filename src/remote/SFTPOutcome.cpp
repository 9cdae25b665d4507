// SPDX-License-Identifier: GPL-3.0-or-later
#include "remote/SFTPOutcome.h"

#include <QRegularExpression>

namespace moorix {

namespace {

const QRegularExpression &noise()
{
    static const QRegularExpression pattern(
        QStringLiteral("^(Warning|WARNING)\\b|^\\*\\* |^mux_client_|^Control ?[Ss]ocket |"
                       "^(Shared )?[Cc]onnection to .* closed|^Server version does not support lstat|"
                       "^File \".*\" was not modified$"));
    return pattern;
}

const QRegularExpression &missingItem()
{
    // The newer wording, then that of clients before 8.9. Lines about local files name other things in front.
    static const QRegularExpression pattern(
        QStringLiteral("^(Can't ls: \".*\" not found|File \".*\" not found\\.?)$|"
                       "^(remote |realpath |stat remote|Couldn't (delete file|remove directory|create directory|rename "
                       "file|setstat on|"
                       "canonicalize|stat remote file)).*: No such file( or directory)?$"));
    return pattern;
}

bool isOctal(char c, char highest = '7')
{
    return c >= '0' && c <= highest;
}

bool endsWithQuit(const QByteArray &standardOutput)
{
    const QByteArray text = standardOutput.trimmed();
    return text.mid(text.lastIndexOf('\n') + 1) == "sftp> quit";
}

QString reasonOf(const QString &line)
{
    const qsizetype colon = line.lastIndexOf(QStringLiteral(": "));
    return colon < 0 ? QString() : line.mid(colon + 2);
}

} // namespace

SFTPOutcome SFTPOutcome::classify(const QByteArray &standardOutput, const QByteArray &standardError, OddItems oddItems)
{
    QStringList said;
    for (const QByteArray &bytes : SFTPText::lines(standardError)) {
        if (SFTPText::isConnectedLine(bytes))
            said.clear();
        else
            said << SFTPText::decoded(bytes);
    }
    SFTPOutcome outcome;
    QStringList failures;
    for (const QString &line : std::as_const(said)) {
        if (noise().match(line).hasMatch())
            continue;
        if (oddItems == OddItems::areSkipped && line.endsWith(QStringLiteral(": not a regular file")))
            outcome.skipped << line;
        else
            failures << line;
    }
    if (!failures.isEmpty()) {
        outcome.kind = missingItem().match(failures.constFirst()).hasMatch() ? Kind::missing : Kind::failed;
        outcome.reason = reasonOf(failures.constLast());
    } else if (!endsWithQuit(standardOutput)) {
        outcome.kind = Kind::failed;
        failures << QStringLiteral("The sftp client ended before it had done everything.");
    }
    outcome.words = failures.join(u'\n');
    return outcome;
}

namespace SFTPText {

namespace {

const QByteArray echo("sftp> ");

} // namespace

QString decoded(const QByteArray &line)
{
    QByteArray bytes;
    bytes.reserve(line.size());
    for (qsizetype i = 0; i < line.size(); ++i) {
        const char c = line.at(i);
        if (c == '\\' && i + 3 < line.size() && isOctal(line.at(i + 1), '3') && isOctal(line.at(i + 2)) &&
            isOctal(line.at(i + 3))) {
            bytes += char(((line.at(i + 1) - '0') << 6) | ((line.at(i + 2) - '0') << 3) | (line.at(i + 3) - '0'));
            i += 3;
        } else {
            bytes += c;
            if (c == '\\' && i + 1 < line.size() && line.at(i + 1) == '\\')
                ++i;
        }
    }
    return QString::fromUtf8(bytes);
}

QList<QByteArray> lines(const QByteArray &standardError)
{
    QList<QByteArray> all;
    QByteArray text = standardError;
    for (const QByteArray &line : text.replace('\r', '\n').split('\n')) {
        if (const QByteArray trimmed = line.trimmed(); !trimmed.isEmpty())
            all << trimmed;
    }
    return all;
}

bool isConnectedLine(const QByteArray &line)
{
    return (line.startsWith("Connected to ") || line.startsWith("Attached to ")) && line.endsWith('.');
}

QList<QByteArray> answers(const QByteArray &output)
{
    QList<QByteArray> all;
    bool isConnected = false;
    for (const QByteArray &line : output.split('\n')) {
        isConnected = isConnected || isConnectedLine(line.trimmed());
        // What comes before is the server's and may be anything; paths hold no line ends.
        if (isConnected && line.startsWith(echo))
            all << QByteArray();
        else if (!all.isEmpty())
            all.last() += line + '\n';
    }
    return all;
}

void AnswerCount::feed(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const qsizetype newline = bytes.indexOf('\n');
        m_line.append(newline < 0 ? bytes : bytes.first(newline));
        if (newline < 0)
            return;
        m_isConnected = m_isConnected || isConnectedLine(m_line.trimmed());
        if (m_isConnected && m_line.startsWith(echo))
            ++m_count;
        m_line.clear();
        bytes = bytes.sliced(newline + 1);
    }
}

QByteArray withoutChatter(const QByteArray &answer)
{
    QByteArray kept;
    for (const QByteArray &line : answer.split('\n')) {
        const bool isChatter = line.startsWith("Uploading /") || line.startsWith("Fetching /") ||
                               line.startsWith("Removing /") || line.startsWith("Changing mode on /") ||
                               line.startsWith(echo);
        if (!isChatter)
            kept += line + '\n';
    }
    return kept;
}

QString result(const QByteArray &standardOutput)
{
    QByteArray kept;
    kept.reserve(standardOutput.size());
    for (qsizetype start = 0; start < standardOutput.size();) {
        const qsizetype newline = standardOutput.indexOf('\n', start);
        const qsizetype end = newline < 0 ? standardOutput.size() : newline + 1;
        const QByteArrayView line(standardOutput.constData() + start, end - start);
        if (!line.startsWith(echo))
            kept.append(line);
        start = end;
    }
    return QString::fromUtf8(kept);
}

} // namespace SFTPText

} // namespace moorix
