#pragma once

#include <cstddef>
#include <cstdint>

// Numbers of the zip format: PKWARE's APPNOTE.TXT 6.3.10, and proginfo/extrafld.txt of Info-ZIP for extra fields.

namespace quillon {

inline constexpr std::uint32_t kZipLocalHeaderSignature = 0x04034B50;
inline constexpr std::uint32_t kZipCentralHeaderSignature = 0x02014B50;
inline constexpr std::uint32_t kZipEndSignature = 0x06054B50;
inline constexpr std::uint32_t kZip64EndSignature = 0x06064B50;
inline constexpr std::uint32_t kZip64LocatorSignature = 0x07064B50;

// Lengths of the fixed parts, with signature.
inline constexpr std::size_t kZipLocalHeaderLength = 30;
inline constexpr std::size_t kZipCentralHeaderLength = 46;
inline constexpr std::size_t kZipEndLength = 22;
inline constexpr std::size_t kZip64EndLength = 56;
inline constexpr std::size_t kZip64LocatorLength = 20;

/// Stands for a 16-bit or 32-bit number that is in the zip64 records.
inline constexpr std::uint16_t kZip64Marker16 = 0xFFFF;
inline constexpr std::uint32_t kZip64Marker32 = 0xFFFFFFFF;

// Bits of the general purpose flag.
inline constexpr std::uint16_t kZipFlagEncrypted = 1U << 0;
inline constexpr std::uint16_t kZipFlagDataDescriptor = 1U << 3;
inline constexpr std::uint16_t kZipFlagPatchedData = 1U << 5;
inline constexpr std::uint16_t kZipFlagStrongEncryption = 1U << 6;
inline constexpr std::uint16_t kZipFlagUTF8 = 1U << 11;
inline constexpr std::uint16_t kZipFlagMaskedHeader = 1U << 13;

inline constexpr std::uint16_t kZipMethodStored = 0;
inline constexpr std::uint16_t kZipMethodDeflated = 8;

// Systems that an entry can have been made on, which decide what its attributes mean.
inline constexpr std::uint8_t kZipHostDOS = 0;
inline constexpr std::uint8_t kZipHostUnix = 3;
inline constexpr std::uint8_t kZipHostNTFS = 10;
inline constexpr std::uint8_t kZipHostVFAT = 14;
inline constexpr std::uint8_t kZipHostDarwin = 19;

inline constexpr std::uint16_t kZipExtraZip64 = 0x0001;
inline constexpr std::uint16_t kZipExtraNTFS = 0x000A;
inline constexpr std::uint16_t kZipExtraPKWAREUnix = 0x000D;
inline constexpr std::uint16_t kZipExtraTimestamp = 0x5455;    // "UT"
inline constexpr std::uint16_t kZipExtraInfoZIPUnix = 0x5855;  // "UX"
inline constexpr std::uint16_t kZipExtraUnicodePath = 0x7075;  // "up"
inline constexpr std::uint16_t kZipExtraASiUnix = 0x756E;      // "nu"

}  // namespace quillon
