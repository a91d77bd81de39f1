#pragma once
// An ordered collection of results that a caller walks once with range-for. Arrays are backed by a
// vector; a back-end may fill its results lazily while the caller walks them.
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

template <class T>
class QMREnumerable {
public:
    using value_type = T;

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = const T*;
        using reference = const T&;

        iterator() = default;
        explicit iterator(QMREnumerable* owner) : _owner(owner) { advance(); }

        const T& operator*() const { return *_current; }
        const T* operator->() const { return &*_current; }
        iterator& operator++() {
            advance();
            return *this;
        }
        void operator++(int) { advance(); }
        friend bool operator==(const iterator& it, std::default_sentinel_t) { return !it._current.has_value(); }

    private:
        void advance() { _current = _owner ? _owner->nextObject() : std::nullopt; }

        QMREnumerable* _owner = nullptr;
        std::optional<T> _current;
    };

    virtual ~QMREnumerable() = default;

    // Starts a walk; a collection that cannot be walked again yields nothing the second time.
    iterator begin() {
        restart();
        return iterator(this);
    }
    std::default_sentinel_t end() const noexcept { return {}; }

    // Walks the whole collection into a vector.
    std::vector<T> toVector() {
        std::vector<T> items;
        for (const T& item : *this) items.push_back(item);
        return items;
    }

protected:
    virtual void restart() {}
    // The next item of the walk, or nothing at its end.
    virtual std::optional<T> nextObject() = 0;
};

template <class T>
using QMREnumerablePtr = std::shared_ptr<QMREnumerable<T>>;

// A complete result held in memory; it can be walked any number of times.
template <class T>
class QMRArrayEnumerable : public QMREnumerable<T> {
public:
    QMRArrayEnumerable() = default;
    explicit QMRArrayEnumerable(std::vector<T> items) : _items(std::move(items)) {}

    const std::vector<T>& items() const noexcept { return _items; }
    std::size_t count() const noexcept { return _items.size(); }

protected:
    void restart() override { _next = 0; }
    std::optional<T> nextObject() override {
        if (_next >= _items.size()) return std::nullopt;
        return _items[_next++];
    }

private:
    std::vector<T> _items;
    std::size_t _next = 0;
};

template <class T>
QMREnumerablePtr<T> QMRMakeArrayEnumerable(std::vector<T> items) {
    return std::make_shared<QMRArrayEnumerable<T>>(std::move(items));
}
