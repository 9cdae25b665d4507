// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/cli/Command.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Console.h"
#include "servers/KeychainStore.h"

#include <QCommandLineParser>

#include <algorithm>

namespace moorix {

using namespace Qt::StringLiterals;

namespace {

SecretKind parseKind(const QString &text)
{
    const auto kind = std::find_if(allSecretKinds.cbegin(), allSecretKinds.cend(),
                                   [&text](SecretKind each) { return rawText(each) == text; });
    if (kind == allSecretKinds.cend())
        throw UsageError(u"“%1” is no kind of secret; it is password, passphrase or privateKey."_s.arg(text));
    return *kind;
}

ExitCode runSet(const QCommandLineParser &parser, CommandContext &context)
{
    const ServerConnection server = context.server(parser.positionalArguments().at(0));
    const SecretKind kind = parseKind(parser.positionalArguments().at(1));
    QString value = QString::fromUtf8(console::readSecret(
        u"%1 of “%2”: "_s.arg(parser.positionalArguments().at(1), server.displayName()), context.stop()));
    // A key file ends in a line break, a password that was piped in does not mean the one after it.
    if (kind != SecretKind::privateKey && value.endsWith(u'\n'))
        value.chop(1);
    if (value.isEmpty())
        throw UsageError(u"Standard input held no value. “moorix secret remove” removes a secret."_s);
    if (!context.keychain().set(value, server.id, kind))
        throw Error(u"Secrets"_s, u"The secret was not stored: %1"_s.arg(context.keychain().lastProblem()));
    return ExitCode::done;
}

ExitCode runRemove(const QCommandLineParser &parser, CommandContext &context)
{
    const ServerConnection server = context.server(parser.positionalArguments().at(0));
    const SecretKind kind = parseKind(parser.positionalArguments().at(1));
    if (!context.keychain().remove(server.id, kind))
        throw Error(u"Secrets"_s, u"The secret was not removed: %1"_s.arg(context.keychain().lastProblem()));
    return ExitCode::done;
}

} // namespace

QList<Command> secretCommands()
{
    const QString details =
        u"KIND is password, passphrase (of a key) or privateKey. Secrets live in the keychain of the desktop\n"
        "session. The value is read from standard input, never from the command line."_s;
    Command set{u"secret set"_s, u"SERVER KIND"_s, u"Store a secret of a server."_s, details, {}, {}, 2, 2, runSet};
    set.examples = {u"secret set web-01 password < password.txt"_s,
                    u"secret set web-01 privateKey < ~/.ssh/id_ed25519"_s};
    Command remove{u"secret remove"_s, u"SERVER KIND"_s, u"Remove a secret of a server."_s, details, {}, {}, 2, 2,
                   runRemove};
    remove.examples = {u"secret remove web-01 password"_s};
    return {set, remove};
}

} // namespace moorix
