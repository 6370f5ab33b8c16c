// SPDX-License-Identifier: MIT
#include "printable.h"

namespace {

// Characters that a terminal does not show, or takes as commands.
bool isInvisible(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

} // namespace

QString Toolkit::printable(const QString &text, char32_t except)
{
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        const bool isPair = text.at(i).isHighSurrogate() && i + 1 < text.size()
            && text.at(i + 1).isLowSurrogate();
        const char32_t character = isPair ? QChar::surrogateToUcs4(text.at(i), text.at(i + 1))
                                          : text.at(i).unicode();
        for (int unit = 0; unit <= int(isPair); ++unit) {
            const QChar letter = text.at(i + unit);
            if (character != except && isInvisible(character)) {
                result += QStringLiteral("\\u%1").arg(letter.unicode(), 4, 16, QLatin1Char('0'));
            } else {
                result += letter;
            }
        }
        i += int(isPair);
    }
    return result;
}
