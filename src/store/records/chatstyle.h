#pragma once

/// `style` of a chat with several partners; one with a single partner has 45.
inline constexpr int groupStyle = 43;
