#pragma once
// Verified boot, which init does not use directly.
