// The flag bits of records.
//
// A record names its bits in its enumeration `Bit`. A value is the position of the bit, counted in
// bits from the record's first byte, so that a name says both the byte and the bit in it.
#pragma once

namespace Kestrav::Config {

template <class Rec>
bool isSet(const Rec& record, typename Rec::Bit bit) {
  const unsigned char byte = reinterpret_cast<const unsigned char*>(&record)[bit / 8];
  return (byte & 1u << bit % 8) != 0;
}

template <class Rec>
void setBit(Rec& record, typename Rec::Bit bit, bool on = true) {
  unsigned char& byte = reinterpret_cast<unsigned char*>(&record)[bit / 8];
  const unsigned mask = 1u << bit % 8;
  byte = static_cast<unsigned char>(on ? byte | mask : byte & ~mask);
}

}  // namespace Kestrav::Config
