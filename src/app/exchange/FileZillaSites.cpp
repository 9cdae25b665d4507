// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/exchange/FileZillaSites.h"

#include "base/Error.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace moorix::fileZillaSites {

using namespace Qt::StringLiterals;

namespace {

using namespace exchangeLimits;

/// Of a field other than the comments; a longer one is none that a program wrote.
constexpr qsizetype longestField = 4096;

constexpr qsizetype mostListed = 5;

/// The numbers that stand for protocols in the file.
enum class Protocol { ftpOrTLS = 0, sftp = 1, implicitTLS = 3, explicitTLS = 4, plainFTP = 6 };

/// The numbers that stand for ways to sign in.
enum class Logon { anonymous = 0, keyFile = 5 };

using Fields = QHash<QString, QString>;

struct Password
{
    QString text;
    bool isReadable = true;
};

/// "1 0 4 home 3 joe": the kind of system, the length of a prefix and the prefix, then the length and the text of each
/// name. Empty when it is anything else.
QString folderFrom(const QString &text)
{
    qsizetype at = 0;
    const auto number = [&]() -> std::optional<qsizetype> {
        const qsizetype end = text.indexOf(u' ', at);
        bool isNumber = false;
        const qsizetype value = QStringView(text).mid(at, end < 0 ? -1 : end - at).toLongLong(&isNumber);
        at = end < 0 ? text.size() : end + 1;
        return isNumber && value >= 0 ? std::optional(value) : std::nullopt;
    };
    const auto kind = number();
    const auto prefix = number();
    // What has a prefix is a path of another kind of system, which no server that is spoken to here has.
    if (!kind || *kind > 1 || prefix != 0)
        return {};
    QString path;
    while (at < text.size()) {
        const auto length = number();
        if (!length || *length == 0 || at + *length > text.size())
            return {};
        path += u'/' + text.mid(at, *length);
        at += *length + 1;
    }
    return path.isEmpty() ? u"/"_s : path;
}

/// The first names of a list, and how many more there are.
QString listed(const QStringList &names)
{
    QStringList quoted;
    for (const QString &name : names.first(std::min(mostListed, names.size())))
        quoted += u'“' + name + u'”';
    const QString text = quoted.join(u", "_s);
    return names.size() > mostListed ? u"%1 and %2 more"_s.arg(text).arg(names.size() - mostListed) : text;
}

class Reader final
{
public:
    Reader(const QByteArray &bytes, const QString &name)
        : m_xml(bytes)
        , m_name(name)
    {
        m_content.origin = ExchangeContent::Origin::fileZilla;
    }

    ExchangeContent read()
    {
        // Entities, which may expand without end or name other files, can only come from a document type.
        while (!m_xml.atEnd() && !m_xml.isStartElement()) {
            if (m_xml.readNext() == QXmlStreamReader::DTD)
                refuse(u"it declares a document type, which FileZilla never does."_s);
        }
        if (m_xml.hasError())
            refuseDamage();
        if (m_xml.name() != u"FileZilla3")
            refuse(u"it is no list of sites of FileZilla."_s);
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() == u"Servers")
                readLevel(std::nullopt, 0);
            else
                m_xml.skipCurrentElement();
        }
        while (!m_xml.atEnd())
            m_xml.readNext();
        if (m_xml.hasError())
            refuseDamage();
        makeNotes();
        return std::move(m_content);
    }

private:
    [[noreturn]] void refuse(const QString &why) const
    {
        throw Error(u"Import"_s, u"“%1” cannot be imported: %2"_s.arg(m_name, why));
    }
    [[noreturn]] void refuseDamage() const
    {
        refuse(u"it is damaged (%1, in line %2)."_s.arg(m_xml.errorString()).arg(m_xml.lineNumber()));
    }

    /// The sites and folders inside the current element; returns the text that stands between them.
    QString readLevel(const std::optional<QUuid> &folder, int depth)
    {
        if (depth > mostLevels)
            refuse(u"its folders are nested deeper than %1 levels."_s.arg(mostLevels));
        QString text;
        while (m_xml.readNext() != QXmlStreamReader::EndElement && !m_xml.atEnd()) {
            if (m_xml.isCharacters() && text.size() < longestField)
                text += m_xml.text();
            else if (m_xml.isStartElement() && m_xml.name() == u"Folder")
                readFolder(folder, depth);
            else if (m_xml.isStartElement() && m_xml.name() == u"Server")
                readServer(folder);
            else if (m_xml.isStartElement())
                m_xml.skipCurrentElement();
        }
        return text.trimmed();
    }

    void readFolder(const std::optional<QUuid> &parent, int depth)
    {
        if (m_content.documents.library.folders.size() >= mostFolders)
            refuse(u"it holds more than %1 folders."_s.arg(mostFolders));
        ServerFolder folder;
        folder.parentID = parent;
        folder.sortIndex = m_content.documents.library.folders.size();
        const qsizetype place = m_content.documents.library.folders.size();
        m_content.documents.library.folders += folder;
        const QString name = readLevel(folder.id, depth + 1);
        if (!name.isEmpty())
            m_content.documents.library.folders[place].name = name;
    }

    void readServer(const std::optional<QUuid> &folder)
    {
        if (m_content.documents.library.servers.size() >= mostServers)
            refuse(u"it holds more than %1 sites."_s.arg(mostServers));
        Fields fields;
        Password password;
        while (m_xml.readNextStartElement()) {
            const QString name = m_xml.name().toString();
            if (name == u"Pass") {
                readPassword(password);
                continue;
            }
            const QString text = m_xml.readElementText(QXmlStreamReader::SkipChildElements);
            if (text.size() > longestField && name != u"Comments")
                refuse(u"its field “%1” is longer than %2 characters."_s.arg(name).arg(longestField));
            fields.insert(name, text);
        }
        if (!m_xml.hasError())
            addServer(fields, folder, password);
    }

    void readPassword(Password &password)
    {
        const QString encoding = m_xml.attributes().value(u"encoding"_s).toString();
        const QString text = m_xml.readElementText(QXmlStreamReader::SkipChildElements);
        password.isReadable = encoding.isEmpty() || encoding == u"base64";
        if (encoding == u"base64")
            password.text = QString::fromUtf8(QByteArray::fromBase64(text.toLatin1()));
        else if (password.isReadable)
            password.text = text;
    }

    void addServer(const Fields &fields, const std::optional<QUuid> &folder, const Password &password)
    {
        ServerConnection server = ServerConnection::newDraft(NetworkProtocol::sftp);
        server.host = fields.value(u"Host"_s).trimmed();
        server.name = fields.value(u"Name"_s).trimmed();
        if (server.host.isEmpty()) {
            m_withoutHost += server.name;
            return;
        }
        if (!takeProtocol(server, fields.value(u"Protocol"_s)))
            return;
        bool isNumber = false;
        const qint64 port = fields.value(u"Port"_s).toLongLong(&isNumber);
        if (isNumber && port > 0 && port <= 65535)
            server.port = port;
        server.username = fields.value(u"User"_s);
        server.folderID = folder;
        server.sortIndex = m_content.documents.library.servers.size();
        server.remotePath = folderFrom(fields.value(u"RemoteDir"_s));
        server.notes = fields.value(u"Comments"_s);
        server.passiveMode = fields.value(u"PasvMode"_s) != u"MODE_ACTIVE";
        if (fields.value(u"EncodingType"_s) == u"Custom" && !fields.value(u"CustomEncoding"_s).isEmpty())
            server.charset = fields.value(u"CustomEncoding"_s);
        takeLogon(server, fields);
        takePassword(server, password);
        m_content.documents.library.servers += server;
    }

    bool takeProtocol(ServerConnection &server, const QString &text)
    {
        bool isNumber = false;
        const int number = text.toInt(&isNumber);
        switch (Protocol(isNumber ? number : -1)) {
        case Protocol::sftp:
            return true;
        case Protocol::plainFTP:
            server = withProtocol(server, NetworkProtocol::ftp);
            return true;
        case Protocol::ftpOrTLS:
            m_encryptedWherePossible += server.displayName();
            [[fallthrough]];
        case Protocol::explicitTLS:
            server = withProtocol(server, NetworkProtocol::ftps);
            return true;
        case Protocol::implicitTLS:
            server = withProtocol(server, NetworkProtocol::ftps);
            server.port = 990;
            return true;
        }
        m_ofOtherProtocols += server.displayName();
        return false;
    }

    static ServerConnection withProtocol(const ServerConnection &server, NetworkProtocol protocol)
    {
        ServerConnection draft = ServerConnection::newDraft(protocol);
        draft.id = server.id;
        draft.name = server.name;
        draft.host = server.host;
        return draft;
    }

    static void takeLogon(ServerConnection &server, const Fields &fields)
    {
        const Logon logon = Logon(fields.value(u"Logontype"_s, u"1"_s).toInt());
        if (logon == Logon::anonymous && !supportsKeyAuth(server.networkProtocol))
            server.username = u"anonymous"_s;
        const QString key = fields.value(u"Keyfile"_s);
        if (logon == Logon::keyFile && supportsKeyAuth(server.networkProtocol) && !key.isEmpty()) {
            server.authMethod = AuthMethod::privateKeyFile;
            server.privateKeyPath = key;
        }
    }

    void takePassword(const ServerConnection &server, const Password &password)
    {
        if (!password.isReadable)
            m_unreadable += server.displayName();
        else if (!password.text.isEmpty() && server.authMethod == AuthMethod::password)
            m_content.passwords.insert(server.id, password.text);
    }

    void note(const QString &sentence, const QStringList &sites)
    {
        if (!sites.isEmpty())
            m_content.notes += sentence.arg(listed(sites));
    }
    void makeNotes()
    {
        note(u"Imported as FTPS, since FileZilla encrypts where the server can: %1. For a server that cannot, change "
             u"it to "
             "FTP, which sends the password in the clear."_s,
             m_encryptedWherePossible);
        note(u"Left out, since only SFTP, FTP and FTPS are spoken here: %1."_s, m_ofOtherProtocols);
        note(u"Left out, since they have no host: %1."_s, m_withoutHost);
        note(u"Passwords that FileZilla keeps under its master password cannot be taken over: %1."_s, m_unreadable);
    }

    QXmlStreamReader m_xml;
    QString m_name;
    ExchangeContent m_content;
    QStringList m_encryptedWherePossible;
    QStringList m_ofOtherProtocols;
    QStringList m_withoutHost;
    QStringList m_unreadable;
};

} // namespace

bool isLikely(const QByteArray &bytes)
{
    const QByteArray start = bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3, 256) : bytes.left(256);
    return start.trimmed().startsWith('<');
}

ExchangeContent decode(const QByteArray &bytes, const QString &name)
{
    return Reader(bytes, name).read();
}

} // namespace moorix::fileZillaSites
