// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/SecretServiceKeychain.h"

#include "base/Error.h"

#include <libsecret/secret.h>

#include <memory>

namespace moorix {

namespace {

const SecretSchema &schema()
{
    static const SecretSchema schema = {"org.moorix.Credential",
                                        SECRET_SCHEMA_NONE,
                                        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                         {"synchronizable", SECRET_SCHEMA_ATTRIBUTE_BOOLEAN},
                                         {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                        0,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr,
                                        nullptr};
    return schema;
}

struct ErrorFree
{
    void operator()(GError *error) const { g_error_free(error); }
};
struct ObjectFree
{
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct PasswordFree
{
    void operator()(char *password) const { secret_password_free(password); }
};

/// Nothing listens, or the program that would start a bus is not there.
bool hasNoBus(const GError &error)
{
    if (error.domain == G_SPAWN_ERROR)
        return true;
    return error.domain == G_IO_ERROR && error.code != G_IO_ERROR_TIMED_OUT;
}

bool hasNoService(const GError &error)
{
    return error.domain == G_DBUS_ERROR && error.code == G_DBUS_ERROR_SERVICE_UNKNOWN;
}

QString explain(const GError &error)
{
    const QString words = QString::fromUtf8(error.message);
    if (hasNoBus(error)) {
        return QStringLiteral("This session has no message bus, so the keychain cannot be reached (%1).").arg(words);
    }
    if (hasNoService(error)) {
        return QStringLiteral("No keychain is running: install or start GNOME Keyring, KWallet or KeePassXC (%1).")
            .arg(words);
    }
    return QStringLiteral("The keychain refused: %1").arg(words);
}

void check(GError *error)
{
    const std::unique_ptr<GError, ErrorFree> owned(error);
    if (owned)
        throw Error(QStringLiteral("Keychain"), explain(*owned));
}

gboolean isSynchronizable(KeychainVariant variant)
{
    return variant == KeychainVariant::synchronizable;
}

} // namespace

std::optional<QString> SecretServiceKeychain::value(const QString &service, const QString &account,
                                                    KeychainVariant variant)
{
    GError *error = nullptr;
    const std::unique_ptr<char, PasswordFree> password(secret_password_lookup_sync(
        &schema(), nullptr, &error, "service", service.toUtf8().constData(), "account", account.toUtf8().constData(),
        "synchronizable", isSynchronizable(variant), nullptr));
    check(error);
    return password ? std::optional(QString::fromUtf8(password.get())) : std::nullopt;
}

void SecretServiceKeychain::setValue(const QString &service, const QString &account, KeychainVariant variant,
                                     const QString &value)
{
    GError *error = nullptr;
    secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT,
                               (QStringLiteral("Moorix: ") + account).toUtf8().constData(), value.toUtf8().constData(),
                               nullptr, &error, "service", service.toUtf8().constData(), "account",
                               account.toUtf8().constData(), "synchronizable", isSynchronizable(variant), nullptr);
    check(error);
}

void SecretServiceKeychain::remove(const QString &service, const QString &account, KeychainVariant variant)
{
    GError *error = nullptr;
    secret_password_clear_sync(&schema(), nullptr, &error, "service", service.toUtf8().constData(), "account",
                               account.toUtf8().constData(), "synchronizable", isSynchronizable(variant), nullptr);
    check(error);
}

KeychainReport SecretServiceKeychain::report()
{
    using State = KeychainReport::State;
    GError *error = nullptr;
    const std::unique_ptr<SecretService, ObjectFree> service(
        secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, &error));
    std::unique_ptr<SecretCollection, ObjectFree> keyring;
    if (!error)
        keyring.reset(secret_collection_for_alias_sync(service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE,
                                                       nullptr, &error));
    if (error && (hasNoBus(*error) || hasNoService(*error))) {
        const std::unique_ptr<GError, ErrorFree> owned(error);
        return {hasNoBus(*error) ? State::noMessageBus : State::noService, QString::fromUtf8(error->message)};
    }
    check(error);
    if (!keyring)
        return {State::noKeyring};
    return {secret_collection_get_locked(keyring.get()) ? State::locked : State::ready};
}

} // namespace moorix
