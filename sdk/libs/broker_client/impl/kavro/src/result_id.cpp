#include "kavro/src/result_id.h"

#include "kavro/src/allocate_resource.h"
#include "kavro/src/answer.h"
#include "kavro/src/authenticate.h"
#include "kavro/src/power_operation.h"
#include "kavro/src/resource_list.h"

namespace kavro {

std::string_view result_id_of(const PostResult &post) {
    if (!post.document || !post.document->root())
        return {};
    const XmlNode message = post.document->root().child();
    if (!message)
        return {};
    const ResultElement result = read_result(message);
    for (const auto known : {known_authentication_id, known_list_id, known_allocation_id,
                             known_operation_id, known_error_id}) {
        if (const std::string_view id = known(result.id); !id.empty())
            return id;
    }
    return {};
}

} // namespace kavro
