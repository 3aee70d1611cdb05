#pragma once
// Of verified boot init uses nothing itself.
