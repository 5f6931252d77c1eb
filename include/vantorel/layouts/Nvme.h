// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Bytes.h"
#include "vantorel/base/Public.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// The byte images of NVM Express (NVM Express Base Specification 1.2, "SMART / Health Information" and "Identify
/// Controller data structure"). Little-endian, without gaps.
namespace VANTOREL_PUBLIC vantorel {

/// A 128-bit counter, least significant byte first.
using NvmeCounter = std::array<std::uint8_t, 16>;

/// The SMART / Health Information log, log page 2.
struct NVMeSMARTLog {
    std::uint8_t critical_warning;           ///< bits, one a condition
    std::array<std::uint8_t, 2> temperature; ///< kelvin, low byte first
    std::uint8_t avail_spare;                ///< percent
    std::uint8_t spare_thresh;               ///< percent
    std::uint8_t percent_used;               ///< percent, may exceed 100
    std::array<std::uint8_t, 26> rsvd6;
    NvmeCounter data_units_read;    ///< units of 1000 blocks of 512 bytes
    NvmeCounter data_units_written; ///< units of 1000 blocks of 512 bytes
    NvmeCounter host_reads;         ///< commands
    NvmeCounter host_writes;        ///< commands
    NvmeCounter ctrl_busy_time;     ///< minutes
    NvmeCounter power_cycles;
    NvmeCounter power_on_hours;
    NvmeCounter unsafe_shutdowns;
    NvmeCounter media_errors;
    NvmeCounter num_err_log_entries;
    le32 warning_temp_time;          ///< minutes
    le32 critical_comp_time;         ///< minutes
    std::array<le16, 8> temp_sensor; ///< kelvin
    std::array<std::uint8_t, 296> rsvd216;
};
static_assert(sizeof(NVMeSMARTLog) == 512);
static_assert(offsetof(NVMeSMARTLog, critical_warning) == 0);
static_assert(offsetof(NVMeSMARTLog, temperature) == 1);
static_assert(offsetof(NVMeSMARTLog, avail_spare) == 3);
static_assert(offsetof(NVMeSMARTLog, spare_thresh) == 4);
static_assert(offsetof(NVMeSMARTLog, percent_used) == 5);
static_assert(offsetof(NVMeSMARTLog, rsvd6) == 6);
static_assert(offsetof(NVMeSMARTLog, data_units_read) == 32);
static_assert(offsetof(NVMeSMARTLog, data_units_written) == 48);
static_assert(offsetof(NVMeSMARTLog, host_reads) == 64);
static_assert(offsetof(NVMeSMARTLog, host_writes) == 80);
static_assert(offsetof(NVMeSMARTLog, ctrl_busy_time) == 96);
static_assert(offsetof(NVMeSMARTLog, power_cycles) == 112);
static_assert(offsetof(NVMeSMARTLog, power_on_hours) == 128);
static_assert(offsetof(NVMeSMARTLog, unsafe_shutdowns) == 144);
static_assert(offsetof(NVMeSMARTLog, media_errors) == 160);
static_assert(offsetof(NVMeSMARTLog, num_err_log_entries) == 176);
static_assert(offsetof(NVMeSMARTLog, warning_temp_time) == 192);
static_assert(offsetof(NVMeSMARTLog, critical_comp_time) == 196);
static_assert(offsetof(NVMeSMARTLog, temp_sensor) == 200);
static_assert(offsetof(NVMeSMARTLog, rsvd216) == 216);

/// One power state descriptor.
struct NVMePowerStateData {
    le16 max_power; ///< hundredths of a watt
    std::uint8_t rsvd2;
    std::uint8_t flags;
    le32 entry_lat;          ///< microseconds
    le32 exit_lat;           ///< microseconds
    std::uint8_t read_tput;  ///< relative, 0 is best
    std::uint8_t read_lat;   ///< relative, 0 is best
    std::uint8_t write_tput; ///< relative, 0 is best
    std::uint8_t write_lat;  ///< relative, 0 is best
    le16 idle_power;
    std::uint8_t idle_scale;
    std::uint8_t rsvd19;
    le16 active_power; ///< hundredths of a watt
    std::uint8_t active_work_scale;
    std::array<std::uint8_t, 9> rsvd23;
};
static_assert(sizeof(NVMePowerStateData) == 32);
static_assert(offsetof(NVMePowerStateData, max_power) == 0);
static_assert(offsetof(NVMePowerStateData, rsvd2) == 2);
static_assert(offsetof(NVMePowerStateData, flags) == 3);
static_assert(offsetof(NVMePowerStateData, entry_lat) == 4);
static_assert(offsetof(NVMePowerStateData, exit_lat) == 8);
static_assert(offsetof(NVMePowerStateData, read_tput) == 12);
static_assert(offsetof(NVMePowerStateData, read_lat) == 13);
static_assert(offsetof(NVMePowerStateData, write_tput) == 14);
static_assert(offsetof(NVMePowerStateData, write_lat) == 15);
static_assert(offsetof(NVMePowerStateData, idle_power) == 16);
static_assert(offsetof(NVMePowerStateData, idle_scale) == 18);
static_assert(offsetof(NVMePowerStateData, rsvd19) == 19);
static_assert(offsetof(NVMePowerStateData, active_power) == 20);
static_assert(offsetof(NVMePowerStateData, active_work_scale) == 22);
static_assert(offsetof(NVMePowerStateData, rsvd23) == 23);

/// Identify Controller data. Texts are padded with blanks and end without a 0 byte.
struct NVMeControllerData {
    le16 vid;
    le16 ssvid;
    std::array<std::int8_t, 20> sn; ///< serial number
    std::array<std::int8_t, 40> mn; ///< model number
    std::array<std::int8_t, 8> fr;  ///< firmware revision
    std::uint8_t rab;
    std::array<std::uint8_t, 3> ieee;
    std::uint8_t cmic;
    std::uint8_t mdts;
    le16 cntlid;
    le32 ver;
    le32 rtd3r;
    le32 rtd3e;
    le32 oaes;
    std::array<std::uint8_t, 160> rsvd96;
    le16 oacs;
    std::uint8_t acl;
    std::uint8_t aerl;
    std::uint8_t frmw;
    std::uint8_t lpa;
    std::uint8_t elpe; ///< entries of the error log less 1
    std::uint8_t npss; ///< power states less 1
    std::uint8_t avscc;
    std::uint8_t apsta;
    le16 wctemp;
    le16 cctemp;
    le16 mtfa;
    le32 hmpre;
    le32 hmmin;
    std::array<std::uint8_t, 16> tnvmcap;
    std::array<std::uint8_t, 16> unvmcap;
    le32 rpmbs;
    std::array<std::uint8_t, 196> rsvd316;
    std::uint8_t sqes;
    std::uint8_t cqes;
    std::array<std::uint8_t, 2> rsvd514;
    le32 nn;
    le16 oncs;
    le16 fuses;
    std::uint8_t fna;
    std::uint8_t vwc;
    le16 awun;
    le16 awupf;
    std::uint8_t nvscc;
    std::uint8_t rsvd531;
    le16 acwu;
    std::array<std::uint8_t, 2> rsvd534;
    le32 sgls;
    std::array<std::uint8_t, 1508> rsvd540;
    std::array<NVMePowerStateData, 32> psd; ///< power states
    std::array<std::uint8_t, 1024> vs;
};
static_assert(sizeof(NVMeControllerData) == 4096);
static_assert(offsetof(NVMeControllerData, vid) == 0);
static_assert(offsetof(NVMeControllerData, ssvid) == 2);
static_assert(offsetof(NVMeControllerData, sn) == 4);
static_assert(offsetof(NVMeControllerData, mn) == 24);
static_assert(offsetof(NVMeControllerData, fr) == 64);
static_assert(offsetof(NVMeControllerData, rab) == 72);
static_assert(offsetof(NVMeControllerData, ieee) == 73);
static_assert(offsetof(NVMeControllerData, cmic) == 76);
static_assert(offsetof(NVMeControllerData, mdts) == 77);
static_assert(offsetof(NVMeControllerData, cntlid) == 78);
static_assert(offsetof(NVMeControllerData, ver) == 80);
static_assert(offsetof(NVMeControllerData, rtd3r) == 84);
static_assert(offsetof(NVMeControllerData, rtd3e) == 88);
static_assert(offsetof(NVMeControllerData, oaes) == 92);
static_assert(offsetof(NVMeControllerData, rsvd96) == 96);
static_assert(offsetof(NVMeControllerData, oacs) == 256);
static_assert(offsetof(NVMeControllerData, acl) == 258);
static_assert(offsetof(NVMeControllerData, aerl) == 259);
static_assert(offsetof(NVMeControllerData, frmw) == 260);
static_assert(offsetof(NVMeControllerData, lpa) == 261);
static_assert(offsetof(NVMeControllerData, elpe) == 262);
static_assert(offsetof(NVMeControllerData, npss) == 263);
static_assert(offsetof(NVMeControllerData, avscc) == 264);
static_assert(offsetof(NVMeControllerData, apsta) == 265);
static_assert(offsetof(NVMeControllerData, wctemp) == 266);
static_assert(offsetof(NVMeControllerData, cctemp) == 268);
static_assert(offsetof(NVMeControllerData, mtfa) == 270);
static_assert(offsetof(NVMeControllerData, hmpre) == 272);
static_assert(offsetof(NVMeControllerData, hmmin) == 276);
static_assert(offsetof(NVMeControllerData, tnvmcap) == 280);
static_assert(offsetof(NVMeControllerData, unvmcap) == 296);
static_assert(offsetof(NVMeControllerData, rpmbs) == 312);
static_assert(offsetof(NVMeControllerData, rsvd316) == 316);
static_assert(offsetof(NVMeControllerData, sqes) == 512);
static_assert(offsetof(NVMeControllerData, cqes) == 513);
static_assert(offsetof(NVMeControllerData, rsvd514) == 514);
static_assert(offsetof(NVMeControllerData, nn) == 516);
static_assert(offsetof(NVMeControllerData, oncs) == 520);
static_assert(offsetof(NVMeControllerData, fuses) == 522);
static_assert(offsetof(NVMeControllerData, fna) == 524);
static_assert(offsetof(NVMeControllerData, vwc) == 525);
static_assert(offsetof(NVMeControllerData, awun) == 526);
static_assert(offsetof(NVMeControllerData, awupf) == 528);
static_assert(offsetof(NVMeControllerData, nvscc) == 530);
static_assert(offsetof(NVMeControllerData, rsvd531) == 531);
static_assert(offsetof(NVMeControllerData, acwu) == 532);
static_assert(offsetof(NVMeControllerData, rsvd534) == 534);
static_assert(offsetof(NVMeControllerData, sgls) == 536);
static_assert(offsetof(NVMeControllerData, rsvd540) == 540);
static_assert(offsetof(NVMeControllerData, psd) == 2048);
static_assert(offsetof(NVMeControllerData, vs) == 3072);

/// One entry of the Error Information log, log page 1.
struct NVMeErrorLogPage {
    le64 error_count; ///< 0 for an unused entry
    le16 sqid;        ///< submission queue
    le16 cmdid;       ///< command
    le16 status_field;
    le16 parm_error_location;
    le64 lba;
    le32 nsid; ///< namespace
    std::uint8_t vs;
    std::array<std::uint8_t, 35> resv;
};
static_assert(sizeof(NVMeErrorLogPage) == 64);
static_assert(offsetof(NVMeErrorLogPage, error_count) == 0);
static_assert(offsetof(NVMeErrorLogPage, sqid) == 8);
static_assert(offsetof(NVMeErrorLogPage, cmdid) == 10);
static_assert(offsetof(NVMeErrorLogPage, status_field) == 12);
static_assert(offsetof(NVMeErrorLogPage, parm_error_location) == 14);
static_assert(offsetof(NVMeErrorLogPage, lba) == 16);
static_assert(offsetof(NVMeErrorLogPage, nsid) == 24);
static_assert(offsetof(NVMeErrorLogPage, vs) == 28);
static_assert(offsetof(NVMeErrorLogPage, resv) == 29);

} // namespace vantorel
