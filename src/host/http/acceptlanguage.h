#pragma once

#include "http/requesthead.h"

class TrLanguage;

/// Of the languages that the program has, the one that the client's Accept-Language prefers. Null if it names none of
/// them.
[[nodiscard]] const TrLanguage* acceptedLanguage(const RequestHead& head);
