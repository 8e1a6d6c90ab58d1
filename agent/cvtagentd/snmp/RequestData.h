#pragma once

#include <memory>
#include <new>

#include "agent/cvtagentd/snmp/SnmpHeaders.h"

namespace cvtagentd {

/// Attaches an object of type T to a request of the SNMP library, or to one of its varbinds. The library deletes the
/// object with the request, however the request ends. Included by sources only, like SnmpHeaders.h; used by the thread
/// that runs the library.
template <typename T>
class RequestData {
public:
    /// `name`, a literal, tells the object from others at the same request.
    explicit constexpr RequestData(const char* name) : m_name(name) {}

    /// Null when none is attached.
    T* Find(netsnmp_agent_request_info& info) const {
        return static_cast<T*>(::netsnmp_agent_get_list_data(&info, m_name));
    }
    T* Find(netsnmp_request_info& varBind) const {
        return static_cast<T*>(::netsnmp_request_get_list_data(&varBind, m_name));
    }

    /// Takes ownership of the object. Called once for a request. Throws std::bad_alloc.
    T& Attach(netsnmp_agent_request_info& info, std::unique_ptr<T> object) const {
        T& attached = *object;
        ::netsnmp_agent_add_list_data(&info, Node(std::move(object)));
        return attached;
    }
    T& Attach(netsnmp_request_info& varBind, std::unique_ptr<T> object) const {
        T& attached = *object;
        ::netsnmp_request_add_list_data(&varBind, Node(std::move(object)));
        return attached;
    }

private:
    static void Delete(void* object) { delete static_cast<T*>(object); }

    netsnmp_data_list* Node(std::unique_ptr<T> object) const {
        netsnmp_data_list* const node = ::netsnmp_create_data_list(m_name, object.get(), &Delete);
        if (node == nullptr) {
            throw std::bad_alloc();
        }
        static_cast<void>(object.release());  // the node owns it
        return node;
    }

    const char* m_name;
};

}  // namespace cvtagentd
