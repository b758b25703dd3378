// SPDX-License-Identifier: MIT

// Pieces of an answer on the AT channel, separated by NUL, give one of the four verdicts and throw
// nothing.
#include "DataCardInfo.h"
#include "Fuzz.h"
#include "SmsTrigger.h"

#include <QList>

#include <stdexcept>

void fuzzOne(const QByteArray &input)
{
    std::string verdict;
    for (QByteArray piece : input.split('\0')) {
        const int result = CDataCardInfo::RecDataFunc(piece.data(), static_cast<int>(piece.size()));
        require(result == 0 || result == 1);
        try {
            verdict = kestrun::judgeTriggerResponse(piece.toStdString(), verdict).verdict;
        } catch (const std::out_of_range &) {
            require(piece == "^RSTRIGGER");
        }
        require(verdict.empty() || verdict == "0" || verdict == "1" || verdict == "255");
    }
}
