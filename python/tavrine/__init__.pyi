from ._native import Error as Error
from ._native import crop as crop
from ._native import cvt_color as cvt_color
from ._native import decode as decode
from ._native import encode as encode
from ._native import find_affine as find_affine
from ._native import find_similarity as find_similarity
from ._native import load as load
from ._native import resize as resize
from ._native import rotate as rotate
from ._native import save as save
from ._native import scale as scale
from ._native import to_tensor as to_tensor
from ._native import transform_batch as transform_batch
from ._native import warp_affine as warp_affine
from ._native import warp_perspective as warp_perspective
from ._letterbox import Letterbox as Letterbox
from ._letterbox import letterbox as letterbox
from ._letterbox import map_back as map_back

__version__: str
__revision__: str
