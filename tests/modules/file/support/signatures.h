#pragma once

/// The worker's operations, as they appear in its log.
namespace Signature {
inline constexpr char constructor[] = "CMFileWorker::CMFileWorker(const QVariantHash&)";
inline constexpr char errorAccessViolation[] = "CMError CMFileWorker::errorAccessViolation(const QString&)";
inline constexpr char errorNoReadPermission[] = "CMError CMFileWorker::errorNoReadPermission(const QString&)";
inline constexpr char entryList[] = "QStringList CMFileWorker::entryList(CMVoidReply&, const QString&)";
inline constexpr char filter[] = "bool CMFileWorker::filter(const QString&, bool)";
inline constexpr char getDataImpl[] =
    "virtual QVariantList CMFileWorker::getDataImpl(CMVoidReply&, const QString&, const QStringList&)";
inline constexpr char getRowsRequest[] = "virtual void CMFileWorker::getRowsRequest(const CMGetRowsRequest&)";
inline constexpr char sendRowsReply[] =
    "void CMFileWorker::sendRowsReply(const QVariantList&, const TrString&, CMGetRowsRequest)";
inline constexpr char getDataRequest[] = "virtual void CMFileWorker::getDataRequest(const CMGetDataRequest&)";
inline constexpr char setDataRequest[] = "virtual void CMFileWorker::setDataRequest(const CMSetDataRequest&)";
inline constexpr char prepareRequest[] =
    "QVariantList CMFileWorker::prepareItems(const CMSetDataRequest&, const TagReader&, const QStringList&)";
inline constexpr char prepareList[] =
    "QVariantList CMFileWorker::prepareItems(const QStringList&, const TagReader&, const QStringList&)";
inline constexpr char addWatch[] = "void CMFileWorker::addWatch(QString)";
inline constexpr char removeWatch[] = "void CMFileWorker::removeWatch(QString)";
inline constexpr char subscribePathAdded[] = "void CMFileWorker::subscribePathAdded(const CMPath&)";
inline constexpr char subscribePathRemoved[] = "void CMFileWorker::subscribePathRemoved(const CMPath&)";
inline constexpr char watcherChanged[] = "void CMFileWorker::watcherChanged(const QString&, const QStringList&)";
} // namespace Signature
