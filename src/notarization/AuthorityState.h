#pragma once

/// Who answers for an image, as Gatekeeper's assessment tells.
enum class AuthorityState { unknown, appleNotarized, developerId, unsignedCode };
