# SPDX-License-Identifier: MIT
# Stands in for OpenWrt's file of this name: tools and places.
INSTALL_DIR:=install -d -m0755
INSTALL_BIN:=install -m0755
CP:=cp -fpR
PKG_BUILD_DIR=$(BUILD_DIR)/$(PKG_NAME)-$(PKG_VERSION)
PKG_INSTALL_DIR=$(PKG_BUILD_DIR)/ipkg-install
