#pragma once

#include "content/mount.h"

#include <QVariant>

#include <functional>
#include <memory>

/// The mount that a medium comes from, by the service id in its record; null if there is none.
using MountOfMedium = std::function<std::shared_ptr<const Mount>(const QString& serviceId)>;

/// The value of an answer without paths of the local file system, at any depth. In a media record the `uri` of a
/// resource below the root of the medium's mount becomes `media/PREFIX/BASE`, another one is dropped, and the picture
/// of an `albumArt` becomes the `uri` of the cover.
[[nodiscard]] QVariant withNetworkNames(const QVariant& value, const MountOfMedium& mountOf);
