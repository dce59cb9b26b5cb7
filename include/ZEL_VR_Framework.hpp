/**
 * @file ZEL_VR_Framework.hpp
 * The ZEL_VR_Framework library for C++20: header only, on ZEL_VR_Framework.h and the standard
 * library.
 *
 *     #include <ZEL_VR_Framework.hpp>
 *
 *     int main()
 *     {
 *         zel::Module module("192.168.169.20"); // or its name
 *         std::cout << module.get("System/Name") << '\n';
 *
 *         zel::Subscription stream(module);
 *         stream.add(module.signal("Force"));
 *         stream.start();
 *         zel::Block block;
 *         stream.fetch(block);
 *         for (const zel::Record& record : block)
 *             for (const double value : record.values<double>())
 *                 std::cout << value << '\n';
 *     }
 *
 * Results are values, failures exceptions (zel::Error), and what is opened closes itself. What the
 * C interface offers beyond this is called beside it, with Module::uuid().
 *
 * How long calls may take, which threads may call, what a module's warnings are: the header of the
 * C interface says so once for both ("Threads and time", "Results"). docs/cpp.md shows it in use.
 */
#ifndef ZEL_VR_FRAMEWORK_HPP
#define ZEL_VR_FRAMEWORK_HPP

#include "zel/address.hpp"
#include "zel/block.hpp"
#include "zel/connection.hpp"
#include "zel/error.hpp"
#include "zel/library.hpp"
#include "zel/module.hpp"
#include "zel/network.hpp"
#include "zel/signal.hpp"
#include "zel/subscription.hpp"
#include "zel/units.hpp"

#endif
