#include "qorcpp/errors.hpp"
