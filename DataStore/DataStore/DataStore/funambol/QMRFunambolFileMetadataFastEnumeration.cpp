#include "DataStore/funambol/QMRFunambolFileMetadataFastEnumeration.h"

#include "DataStore/funambol/QMRFunambolDataStore.h"

QMRFunambolFileMetadataFastEnumeration::QMRFunambolFileMetadataFastEnumeration(
    std::shared_ptr<QMRFunambolDataStore> dataStore, std::optional<QMRDate> notBeforeDateTimeInLocalTime,
    QMRErrorSlot& error)
    : _dataStore(std::move(dataStore)),
      _notBeforeDateTimeInLocalTime(notBeforeDateTimeInLocalTime),
      _error(&error),
      _systemContentType(QMRFunambolDataStore::systemContentType()) {}

std::optional<QMRFileMetadataPtr> QMRFunambolFileMetadataFastEnumeration::nextObject() {
    while (true) {
        if (_nextInPage < _metadatas.size()) return _metadatas[_nextInPage++];
        _metadatas.clear();
        _nextInPage = 0;
        if (!_hasMoreItems) {
            resetPointers();
            return std::nullopt;
        }
        auto page = _dataStore->readAllFileMetadataStartingFrom(
            {_systemContentType.front()}, _notBeforeDateTimeInLocalTime, _offset, pageSize, *_error);
        // The walk ends here and the error stays in the caller's slot; a new walk asks for the same page.
        if (*_error || !page) return std::nullopt;
        _offset += pageSize;
        // A short page ends the collection; one of exactly fifty costs a further, empty request.
        if (page->size() < pageSize) {
            _systemContentType.erase(_systemContentType.begin());
            _offset = 0;
            _hasMoreItems = !_systemContentType.empty();
        }
        _metadatas = std::move(*page);
    }
}

void QMRFunambolFileMetadataFastEnumeration::resetPointers() {
    _dataStore.reset();
    _notBeforeDateTimeInLocalTime.reset();
    _error = nullptr;
    _systemContentType.clear();
    _metadatas.clear();
    _nextInPage = 0;
}
