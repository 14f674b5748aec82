# SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
# SPDX-License-Identifier: LGPL-2.1-or-later

add_unit_test(service/JournalEntryTest SANDBOX LIBRARIES service)
add_unit_test(service/LockedListingTest LIBRARIES service)
add_unit_test(service/PathWatchTest SANDBOX LIBRARIES service)
add_unit_test(service/PolicyWriteTest LIBRARIES service)
add_unit_test(service/ReadingsTest SANDBOX LIBRARIES service)

# what calls the service: as programs do, and as no program should
foreach(name IN ITEMS servicecaller serviceattacker)
    add_executable(${name} service/${name}.cpp)
    target_link_libraries(${name} PRIVATE Qt${QT_MAJOR_VERSION}::DBus)
endforeach()

set(SERVICE_INTERFACE ${PROJECT_SOURCE_DIR}/service/org.accountpolicies.Modules1.xml)
# as other programs make their code from the interface
set_source_files_properties(${SERVICE_INTERFACE} PROPERTIES INCLUDE service/BusTypes.h CLASSNAME OrgAccountpoliciesModules1Interface)
qt_add_dbus_interface(proxy ${SERVICE_INTERFACE} Modules1Interface)
add_library(servicesupport STATIC ${proxy} endtoend/ServiceCall.cpp endtoend/StandInForPolkit.cpp)
target_include_directories(servicesupport PUBLIC ${CMAKE_CURRENT_BINARY_DIR})
target_link_libraries(servicesupport PUBLIC endtoendsupport servicetypes)
add_dependencies(servicesupport servicecaller serviceattacker)
target_compile_definitions(servicesupport PUBLIC SERVICECALLER="$<TARGET_FILE:servicecaller>"
                                                 SERVICEATTACKER="$<TARGET_FILE:serviceattacker>")

add_bus_test(endtoend/DoctorTest LIBRARIES servicesupport)
add_bus_test(endtoend/ModuleAccessTest COST 60 LIBRARIES servicesupport client)
add_bus_test(endtoend/ServiceAttacksTest COST 60 LIBRARIES servicesupport)
# sanitizers take memory of their own
set_tests_properties(endtoend/ServiceAttacksTest PROPERTIES LABELS unsanitized)
add_bus_test(endtoend/ServiceQueueTest COST 90 LIBRARIES servicesupport)
add_bus_test(endtoend/ServiceTest COST 60 LIBRARIES servicesupport)
