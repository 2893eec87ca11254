// What a row's cut texts leave out, for browsers: the whole text, and the address that a sender's name hides.
#pragma once

#include <string>
#include <string_view>

namespace vornelle {

// " title='...'" with the whole text where `shown` is only its start; "" where nothing is cut. Very long
// texts end at 500 characters.
[[nodiscard]] std::string wholeTextAttribute(std::string_view whole, std::string_view shown);

// The address that the message is really from, where the rest of the sender looks like another one:
// "eve@evil.example" for `"help@bank.example" <eve@evil.example>`; "" for everybody else.
[[nodiscard]] std::string addressBehindName(std::string_view from);

}  // namespace vornelle
