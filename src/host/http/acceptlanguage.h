#pragma once

#include "http/requesthead.h"

class TrLanguage;

/// The language that the client likes best of those that there are, by its Accept-Language. Null if there is none, or
/// the client names none.
[[nodiscard]] const TrLanguage* acceptedLanguage(const RequestHead& head);
