// SPDX-License-Identifier: MIT

// A card file is either read as a card whose texts fit or rejected with a message.
#include "Fuzz.h"
#include "emulated/CardDescription.h"

#include <QTemporaryFile>

void fuzzOne(const QByteArray &input)
{
    QTemporaryFile file;
    require(file.open() && file.write(input) == input.size() && file.flush());
    QString error;
    auto card = devsrv::readCard(file.fileName(), error);
    require(card.has_value() == error.isEmpty());
    if (!card)
        return;
    for (const devsrv::CardField &field : devsrv::cardFields()) {
        const auto reference = field.in(*card);
        if (auto *const *text = std::get_if<std::string *>(&reference))
            require((*text)->size() <= static_cast<std::size_t>(field.maximum));
    }
}
