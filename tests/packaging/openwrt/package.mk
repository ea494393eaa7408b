# SPDX-License-Identifier: MIT
# Stands in for OpenWrt's file of this name: the steps of a package, in their order, down to the
# package's content in $(ROOT).
define BuildPackage
package:
	$$(Build/Prepare)
	$$(Build/Configure)
	$$(Build/Compile)
	$$(Build/Install)
	$$(call Package/$(1)/install,$$(ROOT))
endef

# What the package says about itself. OpenWrt reads it from this definition.
define metadata
  $(Package/vxquilan)
  VERSION:=$(PKG_VERSION)
endef
metadata:
	@: $(info $(metadata))
