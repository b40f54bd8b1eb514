// Records of the modem's data-system-determination (DSD) service that the plug-in reads
// and writes. They are plain little-endian memory records: every field sits at a fixed
// byte offset, 64-bit fields are 8-byte aligned on every target (i386 would otherwise
// align them to 4), and every gap is an explicit reserved array so that a zero-filled
// record is zero in every byte. The static_asserts below pin the wire layout.
#pragma once

#include <cstddef>
#include <cstdint>

// ---------------------------------------------------------------------------------------
// Raw Wi-Fi measurement: start and stop indications, report request.

// Channel codes of a BSSID entry's channel list.
constexpr uint16_t DSD_WIFI_CHANNEL_BAND_24GHZ_V01 = 1;
constexpr uint16_t DSD_WIFI_CHANNEL_BAND_36GHZ_V01 = 2;
constexpr uint16_t DSD_WIFI_CHANNEL_BAND_5GHZ_V01 = 3;
constexpr uint16_t DSD_WIFI_CHANNEL_ANY_V01 = 0xFFFF;

// Bits of meas_param_mask and reported_params.
constexpr uint64_t DSD_WIFI_MEAS_PARAM_RSSI_V01 = 0x1;
constexpr uint64_t DSD_WIFI_MEAS_PARAM_BSS_LOAD_V01 = 0x4;

constexpr uint32_t DSD_WIFI_SSID_MAX_V01 = 32;
constexpr uint32_t DSD_WIFI_IDENT_MAX_V01 = 8;
constexpr uint32_t DSD_WIFI_BSSID_LIST_MAX_V01 = 16;
constexpr uint32_t DSD_WIFI_CHANNEL_LIST_MAX_V01 = 16;
constexpr uint32_t DSD_WIFI_BSS_INFO_MAX_V01 = 58;

struct dsd_wifi_bssid_type_v01 {
  uint8_t bssid[6];  // FF:FF:FF:FF:FF:FF = any access point
  uint8_t reserved_6[2];
  uint32_t channel_list_len;
  uint16_t channel_list[DSD_WIFI_CHANNEL_LIST_MAX_V01];
};

struct dsd_wifi_ident_ssid_type_v01 {
  uint8_t reserved_0[4];
  // NUL-terminated when shorter than 32 bytes; all 0xFF = any network; all 0 = the
  // connected network (first entry only).
  char ssid[DSD_WIFI_SSID_MAX_V01];
  uint8_t reserved_36[4];
};

struct dsd_wifi_ident_type_v01 {
  dsd_wifi_ident_ssid_type_v01 ssid_info;
  uint32_t bssid_list_len;
  dsd_wifi_bssid_type_v01 bssid_list[DSD_WIFI_BSSID_LIST_MAX_V01];
};

struct dsd_start_wifi_meas_ind_msg_v01 {
  uint32_t wifi_meas_id;
  uint8_t reserved_4[4];
  alignas(8) uint64_t meas_param_mask;
  uint8_t reserved_16[30];
  uint8_t wifi_ident_valid;
  uint8_t reserved_47[1];
  uint32_t wifi_ident_len;
  dsd_wifi_ident_type_v01 wifi_ident[DSD_WIFI_IDENT_MAX_V01];
  uint8_t sampling_interval_valid;
  uint8_t reserved_6037[3];
  int32_t sampling_interval;
  uint8_t reporting_interval_valid;
  uint8_t reserved_6045[3];
  int32_t reporting_interval;
  uint8_t alpha_valid;
  uint8_t reserved_6053[3];
  float alpha;
  uint8_t reserved_6060[124];
};

struct dsd_stop_wifi_meas_ind_msg_v01 {
  uint32_t wifi_meas_id;
};

struct dsd_wifi_bss_info_type_v01 {
  uint8_t bssid[6];
  uint8_t reserved_6[2];
  uint16_t frequency;  // MHz
  uint8_t reserved_10[6];
  alignas(8) uint64_t reported_params;  // 1 = RSSI, 5 = RSSI and BSS load
  int16_t rssi;                         // dBm
  uint8_t reserved_26[4];
  uint16_t channel_utilization;
  uint8_t reserved_32[16];
};

struct dsd_wifi_meas_report_req_msg_v01 {
  uint32_t wifi_meas_id;
  uint32_t report_id;
  uint32_t reserved;
  uint8_t is_last_report;
  uint8_t reserved_13[3];
  uint32_t ssid_len;
  char ssid[DSD_WIFI_SSID_MAX_V01];  // not NUL-terminated
  uint8_t bss_info_valid;
  uint8_t reserved_53[3];
  uint32_t bss_info_len;
  uint8_t reserved_60[4];
  dsd_wifi_bss_info_type_v01 bss_info[DSD_WIFI_BSS_INFO_MAX_V01];
  uint8_t reserved_2848[24];
};

// ---------------------------------------------------------------------------------------
// WQE profiles: init and type (mask) indications.

// Profile numbers: 0 is the default profile, 4..35 the modem's profiles.
enum dsd_wqe_profile_type_enum_v01 : int32_t {
  DSD_WQE_PROFILE_DEFAULT_V01 = 0,
  DSD_WQE_PROFILE_FIRST_V01 = 4,
  DSD_WQE_PROFILE_LAST_V01 = 35,
};

constexpr uint32_t DSD_ICCID_MAX_V01 = 10;

struct dsd_wqe_profile_init_ind_msg_v01 {
  uint32_t profile_type;
  uint8_t rssi_low_override_valid;
  uint8_t reserved_5[1];
  int16_t rssi_low_override;
  uint8_t rssi_high_override_valid;
  uint8_t reserved_9[1];
  int16_t rssi_high_override;
  uint8_t iccid_valid;
  uint8_t reserved_13[3];
  uint32_t iccid_len;  // only the low byte is read
  uint8_t iccid[DSD_ICCID_MAX_V01];  // packed BCD, low nibble first
  uint8_t reserved_30[2];
};

struct dsd_wqe_profile_type_ind_msg_v01 {
  alignas(8) uint64_t profile_mask;  // profile p is bit p + 28
};

// ---------------------------------------------------------------------------------------
// Requests the quality proxy sends: data settings, profile quality status, WLAN
// availability.

struct dsd_notify_data_settings_req_msg_v01 {
  uint8_t reserved_0[12];
  uint8_t wifi_state_valid;
  uint8_t wifi_state;  // 1 on, 0 off
  uint8_t reserved_14[2];
};

struct dsd_set_wqe_profile_quality_status_req_msg_v01 {
  uint32_t profile_type;
  uint8_t quality_status_valid;
  uint8_t reserved_5[3];
  uint32_t quality_status;  // 0 met, 1 not met
  uint8_t reason_valid;
  uint8_t reserved_13[3];
  uint32_t reason;
};

// connection_type values.
constexpr uint32_t DSD_WLAN_CONN_P2P_GO_V01 = 0;
constexpr uint32_t DSD_WLAN_CONN_P2P_CLIENT_V01 = 1;
constexpr uint32_t DSD_WLAN_CONN_STATION_V01 = 2;
constexpr uint32_t DSD_WLAN_CONN_SOFTAP_V01 = 3;

struct dsd_wlan_available_req_msg_v01 {
  uint8_t bssid[6];
  uint8_t ipv4_addr_valid;
  uint8_t reserved_7[1];
  uint32_t ipv4_addr;
  uint8_t ipv6_addr_valid;
  uint8_t ipv6_addr[16];
  uint8_t ipv6_prefix_len;
  uint8_t station_marker_valid;
  uint8_t reserved_31[1];
  uint32_t station_marker;
  uint8_t dns1_ipv4_valid;
  uint8_t reserved_37[3];
  uint32_t dns1_ipv4;
  uint8_t dns2_ipv4_valid;
  uint8_t reserved_45[3];
  uint32_t dns2_ipv4;
  uint8_t dns1_ipv6_valid;
  uint8_t dns1_ipv6[16];
  uint8_t dns2_ipv6_valid;
  uint8_t dns2_ipv6[16];
  uint8_t reserved_86[48];
  uint8_t ssid_valid;
  uint8_t reserved_135[1];
  uint32_t ssid_len;
  char ssid[DSD_WIFI_SSID_MAX_V01];  // not NUL-terminated
  uint8_t frequency_valid;
  uint8_t reserved_173[1];
  uint16_t frequency;
  uint8_t reserved_176[16];
  uint8_t connection_type_valid;
  uint8_t reserved_193[3];
  uint32_t connection_type;
  uint8_t wifi_mode_valid;
  uint8_t reserved_201[3];
  uint32_t wifi_mode;
  uint8_t link_status_valid;
  uint8_t reserved_209[3];
  uint32_t link_status;  // 0 down, 1 associated, 2 fully connected
  uint8_t reserved_216[12];
  uint8_t link_flag_valid;
  uint8_t link_flag;
  uint8_t hessid_valid;
  uint8_t hessid[6];
  uint8_t country_code_valid;
  char country_code[2];
};

// ---------------------------------------------------------------------------------------
// Layout checks: these offsets are the wire format and hold on every target.

#define DSD_ASSERT_AT(type, field, offset) \
  static_assert(offsetof(type, field) == (offset), #type "." #field " must sit at " #offset)

DSD_ASSERT_AT(dsd_wifi_bssid_type_v01, bssid, 0);
DSD_ASSERT_AT(dsd_wifi_bssid_type_v01, channel_list_len, 8);
DSD_ASSERT_AT(dsd_wifi_bssid_type_v01, channel_list, 12);
static_assert(sizeof(dsd_wifi_bssid_type_v01) == 44, "BSSID entry is 44 bytes");

DSD_ASSERT_AT(dsd_wifi_ident_type_v01, ssid_info.ssid, 4);
DSD_ASSERT_AT(dsd_wifi_ident_type_v01, bssid_list_len, 40);
DSD_ASSERT_AT(dsd_wifi_ident_type_v01, bssid_list, 44);
static_assert(sizeof(dsd_wifi_ident_type_v01) == 748, "network entry is 748 bytes");

DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, wifi_meas_id, 0);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, meas_param_mask, 8);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, wifi_ident_valid, 46);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, wifi_ident_len, 48);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, wifi_ident, 52);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, sampling_interval_valid, 6036);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, sampling_interval, 6040);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, reporting_interval_valid, 6044);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, reporting_interval, 6048);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, alpha_valid, 6052);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, alpha, 6056);
DSD_ASSERT_AT(dsd_start_wifi_meas_ind_msg_v01, reserved_6060, 6060);
static_assert(sizeof(dsd_start_wifi_meas_ind_msg_v01) == 6184, "start indication is 6184 bytes");
static_assert(sizeof(float) == 4, "alpha is an IEEE 754 single");

DSD_ASSERT_AT(dsd_stop_wifi_meas_ind_msg_v01, wifi_meas_id, 0);

DSD_ASSERT_AT(dsd_wifi_bss_info_type_v01, bssid, 0);
DSD_ASSERT_AT(dsd_wifi_bss_info_type_v01, frequency, 8);
DSD_ASSERT_AT(dsd_wifi_bss_info_type_v01, reported_params, 16);
DSD_ASSERT_AT(dsd_wifi_bss_info_type_v01, rssi, 24);
DSD_ASSERT_AT(dsd_wifi_bss_info_type_v01, channel_utilization, 30);
static_assert(sizeof(dsd_wifi_bss_info_type_v01) == 48, "BSS record is 48 bytes");
static_assert(alignof(dsd_wifi_bss_info_type_v01) == 8, "BSS records are 8-byte aligned");

DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, wifi_meas_id, 0);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, report_id, 4);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, reserved, 8);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, is_last_report, 12);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, ssid_len, 16);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, ssid, 20);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, bss_info_valid, 52);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, bss_info_len, 56);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, bss_info, 64);
DSD_ASSERT_AT(dsd_wifi_meas_report_req_msg_v01, reserved_2848, 2848);
static_assert(sizeof(dsd_wifi_meas_report_req_msg_v01) == 2872, "report request is 2872 bytes");

DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, profile_type, 0);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, rssi_low_override_valid, 4);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, rssi_low_override, 6);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, rssi_high_override_valid, 8);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, rssi_high_override, 10);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, iccid_valid, 12);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, iccid_len, 16);
DSD_ASSERT_AT(dsd_wqe_profile_init_ind_msg_v01, iccid, 20);
static_assert(sizeof(dsd_wqe_profile_type_enum_v01) == 4, "profile numbers are 32-bit");

DSD_ASSERT_AT(dsd_wqe_profile_type_ind_msg_v01, profile_mask, 0);
static_assert(sizeof(dsd_wqe_profile_type_ind_msg_v01) == 8, "profile mask record is 8 bytes");

DSD_ASSERT_AT(dsd_notify_data_settings_req_msg_v01, wifi_state_valid, 12);
DSD_ASSERT_AT(dsd_notify_data_settings_req_msg_v01, wifi_state, 13);
static_assert(sizeof(dsd_notify_data_settings_req_msg_v01) == 16, "data settings are 16 bytes");

DSD_ASSERT_AT(dsd_set_wqe_profile_quality_status_req_msg_v01, profile_type, 0);
DSD_ASSERT_AT(dsd_set_wqe_profile_quality_status_req_msg_v01, quality_status_valid, 4);
DSD_ASSERT_AT(dsd_set_wqe_profile_quality_status_req_msg_v01, quality_status, 8);
DSD_ASSERT_AT(dsd_set_wqe_profile_quality_status_req_msg_v01, reason_valid, 12);
DSD_ASSERT_AT(dsd_set_wqe_profile_quality_status_req_msg_v01, reason, 16);
static_assert(sizeof(dsd_set_wqe_profile_quality_status_req_msg_v01) == 20,
              "quality status is 20 bytes");

DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, bssid, 0);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ipv4_addr_valid, 6);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ipv4_addr, 8);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ipv6_addr_valid, 12);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ipv6_addr, 13);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ipv6_prefix_len, 29);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, station_marker_valid, 30);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, station_marker, 32);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns1_ipv4_valid, 36);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns1_ipv4, 40);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns2_ipv4_valid, 44);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns2_ipv4, 48);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns1_ipv6_valid, 52);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns1_ipv6, 53);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns2_ipv6_valid, 69);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, dns2_ipv6, 70);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ssid_valid, 134);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ssid_len, 136);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, ssid, 140);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, frequency_valid, 172);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, frequency, 174);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, connection_type_valid, 192);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, connection_type, 196);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, wifi_mode_valid, 200);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, wifi_mode, 204);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, link_status_valid, 208);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, link_status, 212);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, link_flag_valid, 228);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, link_flag, 229);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, hessid_valid, 230);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, hessid, 231);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, country_code_valid, 237);
DSD_ASSERT_AT(dsd_wlan_available_req_msg_v01, country_code, 238);
static_assert(sizeof(dsd_wlan_available_req_msg_v01) == 240, "WLAN availability is 240 bytes");
