#include "host/CServiceSteps.h"

#include "providerbase/CVendor.h"
#include "providerbase/CVendorFactory.h"

#include <memory>
#include <utility>

namespace {

class CSteppedVendor : public CVendor {
public:
    CSteppedVendor(const std::string& device, const std::string& kind,
                   CDeviceDescription description, CServiceHooks hooks)
        : CVendor(device, kind, std::move(description)),
          m_hooks(std::move(hooks)) {}

    int ExecuteCommand(const std::string& command) override {
        if (!IsAllowed(command)) {
            return CServiceSteps::kNotAllowed;
        }
        const auto run = [&] { return CVendor::ExecuteCommand(command); };
        return m_hooks.m_around ? m_hooks.m_around(run, command) : run();
    }

private:
    [[nodiscard]] bool IsAllowed(const std::string& command) const {
        if (command == CServiceSteps::kStop) {
            return !m_hooks.m_beforeStop || m_hooks.m_beforeStop();
        }
        if (command == CServiceSteps::kStart) {
            return !m_hooks.m_beforeStart || m_hooks.m_beforeStart();
        }
        return true;
    }

    CServiceHooks m_hooks;
};

} // namespace

CServiceSteps::CServiceSteps(const std::string& description, const CServiceHooks& hooks) {
    CVendorFactory::SetMaker(
        [description, hooks](const std::string& /*provider*/, const std::string& device,
                             const std::string& kind) -> std::unique_ptr<CVendor> {
            auto read = CDeviceDescription::Read(description);
            return read ? std::make_unique<CSteppedVendor>(device, kind, std::move(*read), hooks)
                        : nullptr;
        });
}

CServiceSteps::~CServiceSteps() {
    CVendorFactory::SetMaker({});
}
