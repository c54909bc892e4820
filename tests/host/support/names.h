#pragma once

#include <QByteArray>
#include <QList>

/// File names that trip careless code, as raw bytes. All end in ".mp3".
[[nodiscard]] inline QList<QByteArray> nastyNames()
{
    return {
        "new\nline.mp3",
        "carriage\rreturn.mp3",
        "tab\tstop.mp3",
        "escape\x1b[31mred.mp3",
        "bell\a.mp3",
        "delete\x7f.mp3",
        "quote\"s'.mp3",
        "back\\slash.mp3",
        "100%25.mp3",
        "#1?&=+;.mp3",
        " leading and trailing .mp3",
        "-option.mp3",
        "~.mp3",
        "colon: .mp3",
        "<tag>&amp;.mp3",
        "Bj\xc3\xb6rk.mp3",
        "Bjo\xcc\x88rk.mp3",
        "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e.mp3",
        "\xf0\x9f\x8e\xb5.mp3",
        "\xe2\x80\xae"
        "3pm.mp3",
        "\xe2\x80\xa8separated.mp3",
        QByteArray(251, 'x') + ".mp3"};
}

/// A name that is not UTF-8. It cannot be served, but must do no harm.
[[nodiscard]] inline QByteArray brokenName()
{
    return "broken\xff\xc3(.mp3";
}
