#include "tests/fuzz/support/CMessageFormat.h"

#include <cstddef>
#include <set>
#include <stdexcept>

using std::string;

namespace {

struct CNoMessage : std::runtime_error {
    CNoMessage() : std::runtime_error("no message") {}
};

void Want(bool holds) {
    if (!holds) {
        throw CNoMessage();
    }
}

// A place in a text that moves on; beyond the end there is no message.
class CPlace {
public:
    explicit CPlace(const string& text) : m_text(text) {}

    std::size_t Byte(std::size_t most = 255) {
        Want(m_place < m_text.size());
        const std::size_t value = static_cast<unsigned char>(m_text[m_place++]);
        Want(value <= most);
        return value;
    }
    std::size_t Number() {
        const std::size_t low = Byte() + Byte() * 256;
        const std::size_t high = Byte() + Byte() * 256;
        return low + high * 65536;
    }
    string Text(std::size_t most) {
        const std::size_t size = Number();
        Want(size <= most && m_place + size <= m_text.size());
        m_place += size;
        return m_text.substr(m_place - size, size);
    }
    void End() const { Want(m_place == m_text.size()); }

private:
    const string& m_text;
    std::size_t m_place = 0;
};

constexpr std::size_t kMuch = 33554432;

void Object(CPlace* place, std::size_t depth, std::size_t* count);

void PropertyValue(CPlace* place, std::size_t type, std::size_t depth, std::size_t* count) {
    std::size_t entries = 0;
    switch (type) {
    case 1:
        place->Byte(1);
        return;
    case 2:
    case 3:
        place->Number();
        return;
    case 4:
        place->Text(kMuch);
        return;
    case 5:
        Object(place, depth + 1, count);
        return;
    default:
        entries = place->Number();
        for (std::size_t i = 0; i < entries; ++i) {
            Object(place, depth + 1, count);
        }
    }
}

void Object(CPlace* place, std::size_t depth, std::size_t* count) {
    Want(depth <= 8 && ++*count <= 262144);
    place->Text(1024);
    std::set<string> names;
    const std::size_t properties = place->Number();
    Want(properties <= 256);
    for (std::size_t i = 0; i < properties; ++i) {
        const string name = place->Text(1024);
        Want(!name.empty() && name.find('\0') == string::npos && names.insert(name).second);
        const std::size_t type = place->Byte(6);
        if (place->Byte(type == 0 ? 0 : 1) == 1) {
            PropertyValue(place, type, depth, count);
        }
    }
}

template <class Take>
bool Is(const string& text, Take take) {
    try {
        CPlace place(text);
        take(&place);
        place.End();
        return true;
    } catch (const CNoMessage&) {
        return false;
    }
}

} // namespace

bool CMessageFormat::IsRequest(const string& text) {
    return Is(text, [](CPlace* place) {
        const std::size_t kind = place->Byte(2);
        Want(kind != 0);
        place->Text(1024);
        place->Text(1024);
        place->Text(128);
        if (kind == 2) {
            place->Text(256);
            place->Text(kMuch - 4096);
        }
    });
}

bool CMessageFormat::IsCheckAnswer(const string& text) {
    return Is(text, [](CPlace* place) {
        Want(place->Byte() == 3);
        place->Byte(place->Byte(1) == 1 ? 2 : 0);
    });
}

bool CMessageFormat::IsCallAnswer(const string& text) {
    return Is(text, [](CPlace* place) {
        Want(place->Byte() == 4);
        place->Byte(10);
        place->Number();
        place->Text(kMuch - 4096);
    });
}

bool CMessageFormat::IsObject(const string& text) {
    return Is(text, [](CPlace* place) {
        std::size_t count = 0;
        Object(place, 1, &count);
    });
}
