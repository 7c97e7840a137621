// Opens the private record operations of QuorvelAudioDevice to tests.
#pragma once

#include <utility>

#include "client/quorvel_audio_device.h"

struct QuorvelAudioDevicePeer {
    using Device = QuorvelAudioDevice;
    static constexpr auto FillBlocksFromChain = &Device::FillBlocksFromChain;
    static constexpr auto FillLinksFromChain = &Device::FillLinksFromChain;
    static constexpr auto FillPathsFromProfile = &Device::FillPathsFromProfile;
    static constexpr auto FillChainBlocks = &Device::FillChainBlocks;
    static constexpr auto FillChainBlocks_1 = &Device::FillChainBlocks_1;
    static constexpr auto FillChainLinks = &Device::FillChainLinks;
    static constexpr auto FillChainLinks_1 = &Device::FillChainLinks_1;
    static constexpr auto FillProfilePaths = &Device::FillProfilePaths;
    static constexpr auto PackProfileData = &Device::PackProfileData;
    static constexpr auto UnpackProfileData_2 = &Device::UnpackProfileData_2;
    static constexpr auto UnpackProfileData_1 = &Device::UnpackProfileData_1;
};
