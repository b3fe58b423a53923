// What the C functions of the framework share between their files.
#pragma once

namespace Orvane {
namespace Core {
namespace CApi {

/// Lets go of the feature list that qor_GetFeatures1 keeps for the calling thread: it may hold
/// features of plug-ins, which must be gone before the plug-in libraries are unloaded.
void releaseThreadFeatureList();

} // namespace CApi
} // namespace Core
} // namespace Orvane
