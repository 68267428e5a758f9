// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A hash table with a fixed number of chains.
//
// Not thread-safe. Copies are separate tables. Iteration visits the chains in order and each
// chain in the order of insertion; the table must not change meanwhile.
#ifndef Pegasus_HashTable_h
#define Pegasus_HashTable_h

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace Pegasus {

template <class K>
struct HashFunc {};

template <>
struct HashFunc<String> {
    static Uint32 hash(const String& str) {
        const Char16* p = str.getChar16Data();
        Uint32 h = 0;
        for (Uint32 n = str.size(); n != 0; --n) {
            h = 5 * h + Uint16(*p++);
        }
        return h;
    }
};

template <>
struct HashFunc<Uint32> {
    static Uint32 hash(Uint32 x) { return x; }
};

template <>
struct HashFunc<CIMObjectPath> {
    static Uint32 hash(const CIMObjectPath& path) { return path.makeHashCode(); }
};

template <class K>
struct EqualFunc {
    static Boolean equal(const K& x, const K& y) { return x == y; }
};

template <>
struct EqualFunc<CIMObjectPath> {
    static Boolean equal(const CIMObjectPath& x, const CIMObjectPath& y) { return x.identical(y); }
};

struct EqualNoCaseFunc {
    static Boolean equal(const String& x, const String& y) { return String::equalNoCase(x, y); }
};

template <class K, class V, class E>
struct _HashTableEntry {
    K key;
    V value;
    std::unique_ptr<_HashTableEntry> next;
};

/// Valid while the table lives and does not change.
template <class K, class V, class E>
class _HashTableIterator {
 public:
    typedef _HashTableEntry<K, V, E> Entry;

    _HashTableIterator() : _chain(nullptr), _end(nullptr), _entry(nullptr) {}
    _HashTableIterator(const std::unique_ptr<Entry>* first, const std::unique_ptr<Entry>* end)
        : _chain(first), _end(end), _entry(nullptr) {
        settle();
    }
    /// True while there is an entry to look at.
    operator int() const { return _entry != nullptr; }
    _HashTableIterator& operator++() {
        _entry = _entry->next.get();
        if (!_entry) {
            ++_chain;
            settle();
        }
        return *this;
    }
    _HashTableIterator operator++(int) {
        _HashTableIterator before(*this);
        ++*this;
        return before;
    }
    const K& key() const { return _entry->key; }
    const V& value() const { return _entry->value; }

 private:
    void settle() {
        while (_chain != _end && !*_chain) {
            ++_chain;
        }
        if (_chain != _end) {
            _entry = _chain->get();
        }
    }

    const std::unique_ptr<Entry>* _chain;
    const std::unique_ptr<Entry>* _end;
    const Entry* _entry;
};

/// E tells equal keys, H gives their hash code. A key is looked for in the chain of its hash code
/// only, and only compared with E there.
template <class K, class V, class E, class H>
class HashTable {
 public:
    typedef _HashTableIterator<K, V, E> Iterator;
    enum { DEFAULT_NUM_CHAINS = 32 };

    HashTable(Uint32 numChains = DEFAULT_NUM_CHAINS) : _chains(std::max(numChains, Uint32(1))) {}
    HashTable(const HashTable& x) : _chains(x._chains.size()), _size(x._size) {
        for (std::size_t i = 0; i < _chains.size(); i++) {
            Link* end = &_chains[i];
            for (const Entry* from = x._chains[i].get(); from; from = from->next.get()) {
                end->reset(new Entry{from->key, from->value, nullptr});
                end = &(*end)->next;
            }
        }
    }
    HashTable& operator=(const HashTable& x) {
        HashTable copy(x);
        _chains.swap(copy._chains);
        std::swap(_size, copy._size);
        return *this;
    }
    ~HashTable() { clear(); }

    Uint32 size() const { return _size; }
    void clear() {
        for (Link& chain : _chains) {
            while (chain)  // one by one: a chain's own destruction would recurse
                chain = std::move(chain->next);
        }
        _size = 0;
    }
    /// False, and the old value stays, if the key is present.
    Boolean insert(const K& key, const V& value) {
        Link& end = find(key);
        if (end) {
            return false;
        }
        end.reset(new Entry{key, value, nullptr});
        ++_size;
        return true;
    }
    Boolean contains(const K& key) const { return bool(find(key)); }
    /// False, and `value` unchanged, if the key is absent.
    Boolean lookup(const K& key, V& value) const {
        const Link& link = find(key);
        if (!link) {
            return false;
        }
        value = link->value;
        return true;
    }
    /// Sets `value` to the stored value, valid until the entry is removed.
    Boolean lookupReference(const K& key, V*& value) {
        Link& link = find(key);
        if (!link) {
            return false;
        }
        value = &link->value;
        return true;
    }
    Boolean remove(const K& key) {
        Link& link = find(key);
        if (!link) {
            return false;
        }
        const Link gone = std::move(link);  // `key` may live in it
        link = std::move(gone->next);
        --_size;
        return true;
    }
    Iterator start() const { return Iterator(_chains.data(), _chains.data() + _chains.size()); }

 private:
    typedef typename Iterator::Entry Entry;
    typedef std::unique_ptr<Entry> Link;

    // The link that holds the key's entry, or the end of its chain.
    const Link& find(const K& key) const {
        const Link* link = &_chains[H::hash(key) % Uint32(_chains.size())];
        while (*link && !E::equal((*link)->key, key)) {
            link = &(*link)->next;
        }
        return *link;
    }
    Link& find(const K& key) {
        return const_cast<Link&>(static_cast<const HashTable*>(this)->find(key));
    }

    std::vector<Link> _chains;
    Uint32 _size = 0;
};

}  // namespace Pegasus

#endif
