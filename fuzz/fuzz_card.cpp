// SPDX-License-Identifier: MIT

// A card file is either read as a card whose texts fit or rejected with a message.
#include "Fuzz.h"
#include "emulated/CardDescription.h"

#include <QFile>
#include <QTemporaryDir>

void fuzzOne(const QByteArray &input)
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("card.ini")));
    require(file.open(QIODevice::WriteOnly) && file.write(input) == input.size());
    file.close();
    QString error;
    auto card = devsrv::readCard(file.fileName(), error);
    require(card.has_value() == error.isEmpty());
    if (!card)
        return;
    for (const devsrv::CardField &field : devsrv::cardFields()) {
        const auto reference = field.in(*card);
        if (auto *const *text = std::get_if<std::string *>(&reference))
            require((*text)->size() <= static_cast<std::size_t>(field.most));
    }
}
