#pragma once

class IWbemContext {};
