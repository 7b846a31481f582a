"""Builds the sources that it lies in: conan create packaging/conan"""

import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load, rm

_FOLDERS = "cmake", "docs", "examples", "python", "sdk", "tools"


class BrokerClient(ConanFile):
    name = "broker_client"
    description = "Connection broker client library for remote-desktop clients"
    license = "Apache-2.0"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": True, "boost/*:header_only": True, "fmt/*:header_only": True}

    @property
    def _sources(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        header = load(self, os.path.join(self._sources, "sdk/libs/broker_client/kavro_broker.h"))
        self.version = ".".join(
            re.search(rf"#define KAVRO_BROKER_VERSION_{part} (\d+)", header)[1]
            for part in ("MAJOR", "MINOR", "PATCH"))

    def export_sources(self):
        for pattern in "CMakeLists.txt", "LICENSE", *(f"{folder}/*" for folder in _FOLDERS):
            copy(self, pattern, self._sources, self.export_sources_folder)

    def requirements(self):
        self.requires("boost/[>=1.76 <2]")
        self.requires("fmt/[>=9 <12]")
        self.requires("openssl/[>=1.1.1 <4]")
        self.requires("zlib/[>=1.2.11 <2]")
        if self.settings.os != "Windows":
            self.requires("icu/[>=67]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["KAVRO_BUILD_TESTS"] = False
        toolchain.cache_variables["KAVRO_BUILD_TOOLS"] = False
        toolchain.cache_variables["KAVRO_BUILD_STATIC"] = not self.options.shared
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        if not self.options.shared:
            for name in "*.so*", "*.dll", "*.dll.a":
                rm(self, name, self.package_folder, recursive=True)

    def package_info(self):
        self.cpp_info.set_property("cmake_target_name", "broker_client::broker_client")
        self.cpp_info.libs = ["broker_client"]
        if self.options.shared:
            return
        self.cpp_info.defines = ["KAVRO_BROKER_STATIC"]
        self.cpp_info.system_libs = ["dl", "m", "pthread"]
        if self.settings.os == "Windows":
            self.cpp_info.system_libs = [
                "bcrypt", "crypt32", "iphlpapi", "mswsock", "secur32", "winhttp", "ws2_32"]
