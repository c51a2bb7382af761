#pragma once

#include "host/CCimClass.h"
#include "providerbase/IWbemClassObject.h"
#include "providerbase/IWbemServices.h"

#include <map>
#include <string>
#include <vector>

// The class definitions of a host, and the services object that hands them out. Any number of
// threads can ask at the same time.
class CClassRepository : public IWbemServices {
public:
    explicit CClassRepository(const std::vector<CCimClass>& classes);

    [[nodiscard]] bool Holds(const std::string& className) const;

    // The path is a plain class name. kNotFound: there is no such class; kInvalidParameter: the
    // flags are not 0 or the out-pointer is null. *object is then left alone, *callResult always.
    HRESULT GetObject(const std::string& path, int flags, void* context, IWbemClassObject** object,
                      IWbemCallResult** callResult) override;

private:
    std::map<std::string, IWbemClassObject> m_classes;
};
