// The result codes of a transfer: the values of UnitObject::code and of the begin operations.
#pragma once

namespace strmcommon {

// Running, or finished well.
constexpr int err_none = 0;
// Failed, and the client should request the same thing again (the engine does not restart it).
constexpr int err_retry = 10;
// Refused by a begin operation or EndDownload; never stored as a unit's final code by ResultIf.
constexpr int err_failed = -1;
// curl_multi_add_handle failed when the worker moved the unit into the transfer loop.
constexpr int err_add_handle = -3;
// Cancelled by the client (Cancel, Reset) or aborted by the engine.
constexpr int err_interrupted = -12;
// Empty URL; from DummyDownload also "no free unit". Returned, never stored.
constexpr int err_invalidarg = -13;
// Passing values of the classification: logged, then replaced by a final code.
constexpr int err_resolve_proxy = -16;
constexpr int err_resolve_host = -17;
constexpr int err_connect = -18;
constexpr int err_send = -19;
// Every other failure; also what a retry count past its guard ends as.
constexpr int err_recv_error = -20;
constexpr int err_http = -23;
constexpr int err_ssl = -25;
constexpr int err_incomplete = -26;
// The operation timed out (final unless a timeout retry was allowed).
constexpr int err_timeout = -53;
// An HTTP failure whose retries on the same slot are used up.
constexpr int err_http_retry_over = -54;

// The bitrate word of UserData that means "not known".
constexpr int kBitrateUnknown = 99999999;

}  // namespace strmcommon
