/// \file
/// Byte packets and big-endian bit field readers and writers over caller buffers. None of these
/// types logs, locks or throws for bad input; each belongs to one thread at a time.
#pragma once

namespace strmcommon {

/// A byte buffer with two independent cursors: the GetByte cursor and the data cursor (which
/// H264_SyntaxReader walks). It owns its memory after PtrAlloc or a growing PtrResize, and is a
/// non-owning view after SetPtr or assignment. Allocation failure propagates as the allocator's
/// exception.
class Packet {
 public:
  /// Empty and not owning.
  Packet();
  /// A non-owning view of `other`'s buffer (see operator=).
  Packet(const Packet& other);
  /// Copies size, tag, pointer and both cursors and becomes a non-owning view. Kept: it neither
  /// releases what this packet owned nor tests for self-assignment, so assigning over an owning
  /// packet abandons its buffer.
  Packet& operator=(const Packet& other);
  /// PtrFree.
  virtual ~Packet();

  /// Releases an owned buffer; then no buffer, size 0 and both cursors 0. The owned flag and the
  /// tag are left as they were.
  void PtrFree();
  /// PtrFree, then `size` uninitialised bytes of its own (none for 0). Returns 0.
  int PtrAlloc(unsigned int size);
  /// Grows to `size` bytes of its own, keeping the content, when `size` is larger; otherwise only
  /// sets the size (a shrink never reallocates). Cursors are untouched. Returns 0.
  int PtrResize(unsigned int size);
  /// PtrFree, then a non-owning view of `size` bytes at `ptr`.
  void SetPtr(unsigned char* ptr, unsigned int size);

  /// Valid bytes.
  unsigned int GetSize();
  /// The buffer.
  unsigned char* GetPtr();

  /// Copies `count` bytes from the GetByte cursor to `out` and moves the cursor on; 0. -1 and
  /// nothing moved when there is no buffer or the read would reach the end. Kept: the test is not
  /// strict, so the packet's last byte can never be fetched this way.
  int GetByte(unsigned char* out, unsigned int count);
  /// Moves the GetByte cursor back by `count`, unchecked.
  void UngetByte(unsigned int count);
  /// The GetByte cursor back to 0.
  void ResetPos();

  /// The buffer at the data cursor.
  unsigned char* GetDataPtr();
  /// Bytes from the data cursor to the end.
  int GetDataSize();
  /// Sets the data cursor, unchecked.
  void SetDataPos(int pos);
  /// Moves the data cursor by `delta`, unchecked.
  void MoveDataPos(int delta);

 protected:
  unsigned int m_size;  ///< valid bytes

 public:
  /// Opaque to this library; kept across PtrFree and copied by assignment.
  int m_tag;
  /// Values for the engine library's own use; zero at construction, not copied by assignment.
  double m_userValues[4];

 protected:
  unsigned char* m_ptr;  ///< the buffer
  bool m_owned;          ///< m_ptr is released with array delete
  unsigned int m_pos;    ///< the GetByte cursor
  int m_dataPos;         ///< the data cursor
};

/// Reads big-endian bit fields, most significant bit first, from a caller's buffer. A read that
/// does not fit into what is left of the buffer does nothing at all: the output keeps its old
/// value, so a caller that must notice presets it.
class BitstreamReader {
 public:
  /// Starts at the first bit of `size` bytes at `buffer`, which must hold a byte even for size 0.
  void Reset(void* buffer, int size);
  /// `count` bits (at most 32) right-aligned in `out`, not sign-extended. A read ending exactly at
  /// the last bit succeeds; 0 bits give 0 unless the cursor is at the end.
  void GetBits(int count, int& out);
  /// The same for an unsigned result.
  void GetBits(int count, unsigned int& out);
  /// The same for up to 64 bits.
  void GetBits(int count, unsigned long long& out);
  /// Skips `count` bits, or does nothing when that would pass the end (landing on it is allowed).
  void SkipBits(int count);
  /// Skips `count` whole bytes from the start of the current byte, dropping a partial bit
  /// position. Kept unlike SkipBits: it refuses to land exactly on the end of the buffer.
  void SkipBytes(int count);

 protected:
  /// The read of the three GetBits forms.
  template <typename T>
  void ReadBits(int count, T& out);
  /// True when the byte count from the current byte reaches the end of the buffer.
  bool ReachesEnd(long long bytesAhead) const;

  unsigned char* m_start;   ///< the buffer
  int m_size;               ///< its size in bytes
  unsigned char* m_cur;     ///< the byte being read
  unsigned char m_curByte;  ///< copy of the first byte, kept for the layout; not read
  int m_bitsLeft;           ///< unread bits of the byte at m_cur, 8 down to 1
};

/// Writes big-endian bit fields over a caller's buffer, most significant bit first. The first byte
/// starts from zero; from the second byte on, bits not yet written keep what the buffer held, so a
/// buffer can be patched in place. Every call stores the byte it touched: there is no flush.
class BitstreamBuilder {
 public:
  /// Reset(nullptr, 0).
  BitstreamBuilder();
  /// Starts at the first bit of `size` bytes at `buffer`.
  void Reset(void* buffer, int size);
  /// Writes the low `count` bits of `value`; bits past the end are lost silently. `value` is not
  /// masked: higher bits would spill into the neighbours, so callers pass a value that fits.
  void AddBits(unsigned int value, int count);

 protected:
  unsigned char* m_start;  ///< the buffer
  int m_size;              ///< its size in bytes
  unsigned char* m_cur;    ///< the byte being written
  unsigned char m_accum;   ///< the current value of the byte at m_cur
  int m_bitsFree;          ///< bits still unwritten in that byte, 8 down to 1
};

}  // namespace strmcommon
