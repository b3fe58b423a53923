#include "qorcommon/module.h"

#include "qorcommon/feature.h"

namespace Orvane {
namespace Core {
namespace QOR {

Module::Module() = default;
Module::~Module() = default;

std::list<GC<Feature>> Module::features() {
    return {};
}

Client::Client() = default;
Client::~Client() = default;

std::list<ErrorInfoCollectorListener*> Client::getErrorInfoCollectorListners() {
    return {};
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
