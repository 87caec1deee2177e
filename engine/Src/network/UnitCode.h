/// \file
/// The result codes of a transfer: the values of UnitObject::code and of the begin operations.
///
/// A client sees a code in three places: GetCompleted's `code`, EndDownload's result, and the
/// `code` argument of OnDownloadData (err_none while data flows). The values are fixed; the names
/// err_invalidarg and err_recv_error are the ones the engine's logs print. "Passing" codes are
/// logged by ResultIf and then replaced, so a client meets them only in the logs.
#pragma once

namespace strmcommon {

/// Running, or finished well.
constexpr int err_none = 0;
/// Failed, and the client should request the same thing again (ICurl::BeginDownload3 with the
/// unit's m_urlIndex, or a new begin); the engine does not restart it by itself.
constexpr int err_retry = 10;
/// Refused by a begin operation (quitting, no "http", no free unit for the host) or by
/// EndDownload and ResultIf for a null unit. Never a unit's final code.
constexpr int err_failed = -1;
/// curl_multi_add_handle failed when the worker moved the unit into the transfer loop.
constexpr int err_add_handle = -3;
/// Cancelled by the client (Cancel, Reset) while running or after it finished.
constexpr int err_interrupted = -12;
/// Empty URL; from DummyDownload also "no free unit". Returned, never stored.
constexpr int err_invalidarg = -13;
/// Passing: the proxy's name was not resolved. Ends as err_recv_error.
constexpr int err_resolve_proxy = -16;
/// The host's name was not resolved. Final, not retried.
constexpr int err_resolve_host = -17;
/// Passing: could not connect. Ends as err_recv_error.
constexpr int err_connect = -18;
/// Passing: sending failed. Ends as err_recv_error.
constexpr int err_send = -19;
/// Every other failure; also what a retry count beyond its guard ends as.
constexpr int err_recv_error = -20;
/// Passing: an HTTP-level error (also libcurl's success in headers-kept mode). Ends as err_retry,
/// err_http_retry_over or err_recv_error by the status.
constexpr int err_http = -23;
/// A TLS failure. Final, not retried (unless the status is one of the retried ones).
constexpr int err_ssl = -25;
/// Passing: the transfer broke off. Ends as err_retry (length unknown or not reached), err_none
/// (everything had arrived), err_http_retry_over or err_recv_error.
constexpr int err_incomplete = -26;
/// The operation timed out. Final, unless timeout retries are configured (SetConnDetails) and no
/// body byte had arrived: then err_retry.
constexpr int err_timeout = -53;
/// Status 400, 403, 404, 500, 503 or 504 after twenty retries on the same slot.
constexpr int err_http_retry_over = -54;

/// The UserData::bitrate that means "not known": the receive buffer keeps its 32768 bytes.
constexpr int kBitrateUnknown = 99999999;

}  // namespace strmcommon
