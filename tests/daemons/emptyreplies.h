// SPDX-License-Identifier: MIT
#ifndef EMPTYREPLIES_H
#define EMPTYREPLIES_H

/// The operations that a test daemon does not implement: they do nothing, and return an empty value.
class EmptyReplies
{
protected:
    template <typename Result, typename... Arguments>
    Result answer(const char *, const Arguments &...)
    {
        return Result();
    }
};

#endif
