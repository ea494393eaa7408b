# SPDX-License-Identifier: MIT
# Stands in for OpenWrt's file of this name. Like there, the package's options come last.
define Build/Configure
	cmake -S $(PKG_BUILD_DIR) -B $(PKG_BUILD_DIR)/build \
		-DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_BUILD_TYPE=Release $(CMAKE_OPTIONS)
endef

define Build/Compile
	cmake --build $(PKG_BUILD_DIR)/build --parallel 2
endef

define Build/Install
	DESTDIR=$(PKG_INSTALL_DIR) cmake --install $(PKG_BUILD_DIR)/build
endef
