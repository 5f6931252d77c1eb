// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Public.h"
#include "vantorel/layouts/AtaSmart.h"
#include "vantorel/layouts/Nvme.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The function tables of the platform's SMART plug-ins, exact to the byte for pointers of 8 bytes.
///
/// An interface is reached through a handle: the address of a place that holds the address of a table. Every function
/// of a table takes the handle as its first argument. A status is a signed 32-bit number, 0 for success.
namespace VANTOREL_PUBLIC vantorel {

class PropertyTable;

/// The 16 bytes of a UUID in the order of its text, as they are passed by value.
struct CFUUIDBytes {
    std::array<std::uint8_t, 16> bytes;

    bool operator==(const CFUUIDBytes&) const = default;
};
static_assert(sizeof(CFUUIDBytes) == 16 && alignof(CFUUIDBytes) == 1);

/// A boolean as it crosses the plug-in boundary: 8 bits, true when not 0.
using PlugInBoolean = std::uint8_t;

/// The table of the base interface, which every plug-in has.
struct IOCFPlugInInterfaceStruct {
    void* _reserved;
    std::int32_t (*QueryInterface)(void* self, CFUUIDBytes iid, void** ppv);
    std::uint32_t (*AddRef)(void* self);
    std::uint32_t (*Release)(void* self);
    std::uint16_t version;
    std::uint16_t revision;
    std::int32_t (*Probe)(void* self, const PropertyTable* propertyTable, std::uint32_t service, std::int32_t* order);
    std::int32_t (*Start)(void* self, const PropertyTable* propertyTable, std::uint32_t service);
    std::int32_t (*Stop)(void* self);
};

/// The table of the ATA SMART interface. All slots behind `revision` give a status.
struct IOATASMARTInterface {
    void* _reserved;
    std::int32_t (*QueryInterface)(void* self, CFUUIDBytes iid, void** ppv);
    std::uint32_t (*AddRef)(void* self);
    std::uint32_t (*Release)(void* self);
    std::uint16_t version;
    std::uint16_t revision;
    std::int32_t (*SMARTEnableDisableOperations)(void* self, PlugInBoolean enable);
    std::int32_t (*SMARTEnableDisableAutosave)(void* self, PlugInBoolean enable);
    std::int32_t (*SMARTReturnStatus)(void* self, PlugInBoolean* exceeded);
    std::int32_t (*SMARTExecuteOffLineImmediate)(void* self, PlugInBoolean extended);
    std::int32_t (*SMARTReadData)(void* self, ATASMARTData* data);
    std::int32_t (*SMARTValidateReadData)(void* self, const ATASMARTData* data);
    std::int32_t (*SMARTReadDataThresholds)(void* self, ATASMARTDataThresholds* thresholds);
    std::int32_t (*SMARTReadLogDirectory)(void* self, ATASMARTLogDirectory* directory);
    std::int32_t (*SMARTReadLogAtAddress)(void* self, std::uint32_t address, void* buffer, std::uint32_t size);
    std::int32_t (*SMARTWriteLogAtAddress)(void* self, std::uint32_t address, const void* buffer, std::uint32_t size);
    std::int32_t (*GetATAIdentifyData)(void* self, void* buffer, std::uint32_t inSize, std::uint32_t* outSize);
};

/// The table of the NVMe SMART interface. All slots from `SMARTReadData` on give a status; the eight before it hold
/// their places and are not for calling.
struct IONVMeSMARTInterface {
    void* _reserved;
    std::int32_t (*QueryInterface)(void* self, CFUUIDBytes iid, void** ppv);
    std::uint32_t (*AddRef)(void* self);
    std::uint32_t (*Release)(void* self);
    std::uint16_t version;
    std::uint16_t revision;
    std::int32_t (*sProbe)(void* self, const PropertyTable* propertyTable, std::uint32_t service, std::int32_t* order);
    std::int32_t (*sStart)(void* self, const PropertyTable* propertyTable, std::uint32_t service);
    std::int32_t (*sStop)(void* self);
    std::int32_t (*SomeNilFunc)(void* self);
    std::int32_t (*QueryAgain)(void* self);
    std::int32_t (*Addrefagain)(void* self);
    std::int32_t (*Releaseagain)(void* self);
    std::int32_t (*SomeZeroZeroOneFunc)(void* self);
    std::int32_t (*SMARTReadData)(void* self, NVMeSMARTLog* data);
    std::int32_t (*GetIdentifyData)(void* self, NVMeControllerData* controller, std::uint32_t something);
    std::int32_t (*GetFieldCounters)(void* self, std::int8_t* counters);
    std::int32_t (*ScheduleBGRefresh)(void* self);
    std::int32_t (*GetLogPage)(void* self, void* buffer, std::uint32_t logID, std::uint32_t length);
    std::int32_t (*GetSystemCounters)(void* self, std::int8_t* counters, std::uint32_t* something);
    std::int32_t (*GetAlgorithmCounters)(void* self, std::int8_t* counters, std::uint32_t* something);
};

static_assert(sizeof(void*) == 8, "the tables are those of the platform's 64-bit plug-ins");

static_assert(sizeof(IOCFPlugInInterfaceStruct) == 64);
static_assert(offsetof(IOCFPlugInInterfaceStruct, _reserved) == 0);
static_assert(offsetof(IOCFPlugInInterfaceStruct, QueryInterface) == 8);
static_assert(offsetof(IOCFPlugInInterfaceStruct, AddRef) == 16);
static_assert(offsetof(IOCFPlugInInterfaceStruct, Release) == 24);
static_assert(offsetof(IOCFPlugInInterfaceStruct, version) == 32);
static_assert(offsetof(IOCFPlugInInterfaceStruct, revision) == 34);
static_assert(offsetof(IOCFPlugInInterfaceStruct, Probe) == 40);
static_assert(offsetof(IOCFPlugInInterfaceStruct, Start) == 48);
static_assert(offsetof(IOCFPlugInInterfaceStruct, Stop) == 56);

static_assert(sizeof(IOATASMARTInterface) == 128);
static_assert(offsetof(IOATASMARTInterface, _reserved) == 0);
static_assert(offsetof(IOATASMARTInterface, QueryInterface) == 8);
static_assert(offsetof(IOATASMARTInterface, AddRef) == 16);
static_assert(offsetof(IOATASMARTInterface, Release) == 24);
static_assert(offsetof(IOATASMARTInterface, version) == 32);
static_assert(offsetof(IOATASMARTInterface, revision) == 34);
static_assert(offsetof(IOATASMARTInterface, SMARTEnableDisableOperations) == 40);
static_assert(offsetof(IOATASMARTInterface, SMARTEnableDisableAutosave) == 48);
static_assert(offsetof(IOATASMARTInterface, SMARTReturnStatus) == 56);
static_assert(offsetof(IOATASMARTInterface, SMARTExecuteOffLineImmediate) == 64);
static_assert(offsetof(IOATASMARTInterface, SMARTReadData) == 72);
static_assert(offsetof(IOATASMARTInterface, SMARTValidateReadData) == 80);
static_assert(offsetof(IOATASMARTInterface, SMARTReadDataThresholds) == 88);
static_assert(offsetof(IOATASMARTInterface, SMARTReadLogDirectory) == 96);
static_assert(offsetof(IOATASMARTInterface, SMARTReadLogAtAddress) == 104);
static_assert(offsetof(IOATASMARTInterface, SMARTWriteLogAtAddress) == 112);
static_assert(offsetof(IOATASMARTInterface, GetATAIdentifyData) == 120);

static_assert(sizeof(IONVMeSMARTInterface) == 160);
static_assert(offsetof(IONVMeSMARTInterface, _reserved) == 0);
static_assert(offsetof(IONVMeSMARTInterface, QueryInterface) == 8);
static_assert(offsetof(IONVMeSMARTInterface, AddRef) == 16);
static_assert(offsetof(IONVMeSMARTInterface, Release) == 24);
static_assert(offsetof(IONVMeSMARTInterface, version) == 32);
static_assert(offsetof(IONVMeSMARTInterface, revision) == 34);
static_assert(offsetof(IONVMeSMARTInterface, sProbe) == 40);
static_assert(offsetof(IONVMeSMARTInterface, sStart) == 48);
static_assert(offsetof(IONVMeSMARTInterface, sStop) == 56);
static_assert(offsetof(IONVMeSMARTInterface, SomeNilFunc) == 64);
static_assert(offsetof(IONVMeSMARTInterface, QueryAgain) == 72);
static_assert(offsetof(IONVMeSMARTInterface, Addrefagain) == 80);
static_assert(offsetof(IONVMeSMARTInterface, Releaseagain) == 88);
static_assert(offsetof(IONVMeSMARTInterface, SomeZeroZeroOneFunc) == 96);
static_assert(offsetof(IONVMeSMARTInterface, SMARTReadData) == 104);
static_assert(offsetof(IONVMeSMARTInterface, GetIdentifyData) == 112);
static_assert(offsetof(IONVMeSMARTInterface, GetFieldCounters) == 120);
static_assert(offsetof(IONVMeSMARTInterface, ScheduleBGRefresh) == 128);
static_assert(offsetof(IONVMeSMARTInterface, GetLogPage) == 136);
static_assert(offsetof(IONVMeSMARTInterface, GetSystemCounters) == 144);
static_assert(offsetof(IONVMeSMARTInterface, GetAlgorithmCounters) == 152);

} // namespace vantorel
