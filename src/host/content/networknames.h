#pragma once

#include "content/mount.h"

#include <QVariant>

/// The value of an answer without paths of the local file system, at any depth. In a media record the `uri` of a
/// resource below the mount's root becomes `media/PREFIX/BASE`, another one is dropped, and the picture of an
/// `albumArt` becomes the `uri` of the cover.
[[nodiscard]] QVariant withNetworkNames(const Mount& mount, const QVariant& value);
