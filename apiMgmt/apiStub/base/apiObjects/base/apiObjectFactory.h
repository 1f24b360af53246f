#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APIOBJECTFACTORY_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APIOBJECTFACTORY_H

// Where each API class enters itself at start-up, so that a name read from a reply can make
// the object it names.

#include <map>
#include <string>
#include <vector>

template <class Base, class Key = std::string, class Creator = Base* (*)()>
class APIObjectFactory {
public:
    // A function-level static, so registration from any static initialiser finds it made.
    static APIObjectFactory& Instance() {
        static APIObjectFactory factory;
        return factory;
    }

    // A key registered twice keeps the second creator.
    void Subscribe(const Key& iKey, Creator iCreator) { subscribers[iKey] = iCreator; }
    // Whether the key was there.
    bool UnSubscribe(const Key& iKey) { return subscribers.erase(iKey) > 0; }
    // A new object the caller owns, or null for an unknown key.
    Base* CreateInstance(const Key& iKey) const {
        typename std::map<Key, Creator>::const_iterator it = subscribers.find(iKey);
        return it == subscribers.end() || !it->second ? nullptr : it->second();
    }
    std::vector<Key> GetSubscriberTypes() const {
        std::vector<Key> keys;
        for (const auto& s : subscribers)
            keys.push_back(s.first);
        return keys;
    }

private:
    APIObjectFactory() = default;
    std::map<Key, Creator> subscribers;
};

template <class Base, class Derived, class Key = std::string>
class REGISTERClass {
public:
    explicit REGISTERClass(const Key& iKey) {
        APIObjectFactory<Base>::Instance().Subscribe(iKey, &Create);
    }
    static Base* Create() { return new Derived(); }
};

#endif
