#pragma once

#include <string>

// Hears what a daemon tells the service manager. Its name is the kernel's choice: process IDs would
// not do, for they are the same in two namespaces that share this kind of name.
class CNotifySocket {
public:
    CNotifySocket();
    ~CNotifySocket();
    CNotifySocket(const CNotifySocket&) = delete;
    CNotifySocket& operator=(const CNotifySocket&) = delete;

    // For the variable NOTIFY_SOCKET.
    [[nodiscard]] const std::string& Name() const { return m_name; }
    // Never blocks.
    [[nodiscard]] int Descriptor() const { return m_socket; }

private:
    int m_socket;
    std::string m_name;
};
