#pragma once

std::string incomplete();
