#include "Change_token.h"

#include <QCryptographicHash>
#include <QFile>
#include <QRandomGenerator>

#include <array>

namespace {

QByteArray digest_of(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256);
}

QString failure(const QFile& file)
{
    return file.fileName() + QStringLiteral(": ") + file.errorString();
}

} // namespace

Change_token Change_token::make()
{
    std::array<quint32, 4> random{};
    QRandomGenerator::system()->fillRange(random.data(), static_cast<qsizetype>(random.size()));
    return Change_token(
        QByteArray(reinterpret_cast<const char*>(random.data()), sizeof random).toHex());
}

QString Change_token::keep_in(const QString& path, Change_token& token)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        constexpr int most_size = 256;
        const QByteArray text = file.readLine(most_size).trimmed();
        if (text.size() < least_size)
            return path + QStringLiteral(": a token has at least %1 characters").arg(least_size);
        constexpr auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther |
                                QFileDevice::WriteGroup | QFileDevice::WriteOther;
        if ((file.permissions() & others) != 0)
            return path + QStringLiteral(": others than its owner can read or write it");
        token = Change_token(text);
        return {};
    }
    if (file.exists())
        return failure(file);
    token = make();
    // Nobody else can open it in between: it is empty until it is nobody else's.
    const QByteArray line = token.text() + '\n';
    const bool is_written = file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
                            file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
                            file.write(line) == line.size() && file.flush();
    return is_written ? QString() : failure(file);
}

bool Change_token::is(const QByteArray& guess) const
{
    const QByteArray right = digest_of(text_);
    const QByteArray given = digest_of(guess);
    uint difference = is_none() ? 1 : 0;
    for (int i = 0; i < static_cast<int>(right.size()); ++i)
        difference |= static_cast<uchar>(right.at(i)) ^ static_cast<uchar>(given.at(i));
    return difference == 0;
}
