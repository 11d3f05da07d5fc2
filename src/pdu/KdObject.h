// The common base of the objects the maker's monitor service hands out, and the exception its
// interfaces throw. The library implements them; the bench only calls them, so the slots keep
// the library's order, including those the bench never calls.
#pragma once

#include <cstdint>
#include <string>

#if defined(__GNUC__)
#define QUILLON_SHARED_TYPE __attribute__((visibility("default")))
#else
#define QUILLON_SHARED_TYPE
#endif

class QUILLON_SHARED_TYPE KdObject {
public:
    virtual void Reserved0() = 0;
    virtual uint32_t GetType() = 0;
    virtual void Release() = 0;
    virtual void AddRef() = 0;

protected:
    // Objects go with Release, never with delete: no virtual destructor, which would take slots.
    ~KdObject() = default;
};

// Thrown by the monitor service's interfaces; shown as "Exception %d\n%s\n%s".
class QUILLON_SHARED_TYPE KdException {
public:
    KdException(int32_t code, std::string text, std::string where)
        : m_code(code), m_text(std::move(text)), m_where(std::move(where)) {}
    virtual ~KdException() = default;
    virtual int32_t GetCode() const { return m_code; }
    virtual const char* GetText() const { return m_text.c_str(); }
    virtual const char* GetWhere() const { return m_where.c_str(); }

private:
    int32_t m_code;
    std::string m_text;
    std::string m_where;
};
